#pragma once
#include <QProcess>
#include <QString>

#include <memory>

namespace vennic::test {

/// A message bus of the test's own, named in the environment while it lives. No service can be started on it.
class PrivateBus {
public:
    enum class Kind { session, system };
    /// `folder` takes the bus's socket and configuration.
    PrivateBus(Kind kind, const QString& folder);
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();
    QString address() const { return address_; }
    /// Ends the bus, and has it again under the same address.
    void stop();
    void start();
    /// Waits until somebody owns the name; whether it came to that.
    bool waitForOwner(const QString& name) const;

private:
    QByteArray variable_;
    QString address_;
    QString socket_;
    QString configuration_;
    QProcess process_;
};

/// Starts a program with the test's environment, HOME and XDG folders moved into `folder`; gone with this object.
class PrivateProcess {
public:
    PrivateProcess(const QString& program, const QStringList& arguments, const QString& folder,
                   const QByteArray& input = {});
    PrivateProcess(const PrivateProcess&) = delete;
    PrivateProcess& operator=(const PrivateProcess&) = delete;
    ~PrivateProcess();

private:
    QProcess process_;
};

} // namespace vennic::test
