#pragma once
#include "ports/ServiceManager.h"

namespace vennic {

/// Services as LaunchAgents: launchd.plist(5), launchctl(1).
class ServiceManagerLaunchd final : public ServiceManager {
public:
    /// `userId` is the number of the user whose session it is.
    explicit ServiceManagerLaunchd(qint64 userId) : domain_(QStringLiteral("gui/%1").arg(userId)) {}

    QByteArray definition(const UserService& service) const override;
    ProgramCommand unload(const UserService& service) const override;
    std::vector<ProgramCommand> load(const UserService& service) const override;
    ProgramCommand restart(const UserService& service) const override;

private:
    QString target(const UserService& service) const { return domain_ + u'/' + service.label; }

    QString domain_;
};

} // namespace vennic
