#include "linux/DBusLink.h"

#include <QDBusError>

#include <atomic>

namespace vennic {

namespace {

// The addresses that the D-Bus specification gives, read anew each time: libdbus reads its environment only once.
QString addressOf(DBusLink::Bus bus) {
    if (bus == DBusLink::Bus::system) {
        QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
        return address.isEmpty() ? QStringLiteral("unix:path=/var/run/dbus/system_bus_socket") : address;
    }
    QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return runtime.isEmpty() ? QString() : QStringLiteral("unix:path=%1/bus").arg(runtime);
}

} // namespace

DBusLink::DBusLink(Bus bus) : bus_(bus) {
    static std::atomic<int> number{0};
    name_ = QStringLiteral("vennic-link-%1").arg(++number);
}

DBusLink::~DBusLink() { QDBusConnection::disconnectFromBus(name_); }

QDBusConnection DBusLink::connection() {
    if (QDBusConnection current(name_); current.isConnected())
        return current;
    QDBusConnection::disconnectFromBus(name_);
    const QString address = addressOf(bus_);
    return address.isEmpty() ? QDBusConnection(name_) : QDBusConnection::connectToBus(address, name_);
}

QDBusMessage DBusLink::call(const QString& service, const QString& path, const QString& interface,
                            const QString& method, const QVariantList& arguments, std::chrono::milliseconds timeout) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    auto bus = connection();
    if (!bus.isConnected())
        return message.createErrorReply(QDBusError::Disconnected, QStringLiteral("no bus"));
    return bus.call(message, QDBus::Block, static_cast<int>(timeout.count()));
}

bool meansNobodyAnswers(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ErrorMessage)
        return false;
    const QString name = reply.errorName();
    static const QString prefix = QStringLiteral("org.freedesktop.DBus.Error.");
    return name.startsWith(prefix + QStringLiteral("Spawn")) || name == prefix + QStringLiteral("ServiceUnknown") ||
           name == prefix + QStringLiteral("NameHasNoOwner") || name == prefix + QStringLiteral("NoReply") ||
           name == prefix + QStringLiteral("Timeout") || name == prefix + QStringLiteral("TimedOut") ||
           name == prefix + QStringLiteral("Disconnected") || name == prefix + QStringLiteral("NoServer");
}

} // namespace vennic
