#pragma once
#include "support/PrivateBus.h"

namespace vennic::test {

/// gnome-keyring on a session bus of the test's own, its keyring made and open.
class PrivateKeyring {
public:
    explicit PrivateKeyring(const QString& folder);
    /// Closes the keyring as a desktop does, and opens it with its password.
    void lock();
    void unlock();
    /// Ends the service and starts it again with its keyring closed; what it keeps stays on the disk.
    void restartLocked();
    void endService() { daemon_.reset(); }
    /// Ends the bus and starts another at the same address, with a service whose keyring is open.
    void restartBus();
    PrivateBus& bus() { return *bus_; }
    /// Attributes of every item in the keyring.
    QList<QMap<QString, QString>> items();

private:
    void start(const QStringList& arguments, const QByteArray& input);

    QString folder_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<PrivateProcess> daemon_;
};

} // namespace vennic::test
