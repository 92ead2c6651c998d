#pragma once
#include "ports/ServiceManager.h"

namespace vennic {

/// Services as units of the user's systemd: systemd.service(5), systemd.exec(5), systemctl(1).
class ServiceManagerSystemd final : public ServiceManager {
public:
    /// `systemctl` is the absolute path of that program.
    explicit ServiceManagerSystemd(QString systemctl) : systemctl_(std::move(systemctl)) {}

    /// Where the program is, on the user's PATH or else where most systems have it.
    static QString installedSystemctl();

    /// Raises LocalizedError for a path of the program or of the log that systemd can't be told.
    QByteArray definition(const UserService& service) const override;
    ProgramCommand unload(const UserService& service) const override;
    std::vector<ProgramCommand> load(const UserService& service) const override;
    ProgramCommand restart(const UserService& service) const override;

private:
    ProgramCommand command(const QStringList& arguments) const;

    QString systemctl_;
};

} // namespace vennic
