#include "linux/DBusLink.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>

#include <atomic>

namespace vennic {

namespace {

QDBusMessage methodCall(const QString& service, const QString& path, const QString& interface, const QString& method,
                        const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}

QDBusMessage answerUntilStopped(const QDBusConnection& bus, const QDBusMessage& message, int timeout,
                                const std::stop_token& stop) {
    QEventLoop loop;
    const QDBusPendingCallWatcher answer(bus.asyncCall(message, timeout));
    QObject::connect(&answer, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    const std::stop_callback told(
        stop, [&loop] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); });
    loop.exec();
    return answer.isFinished() ? answer.reply()
                               : message.createErrorReply(QDBusError::NoReply, QStringLiteral("given up"));
}

} // namespace

DBusLink::DBusLink(Bus bus) : bus_(bus) {
    static std::atomic<int> number{0};
    name_ = QStringLiteral("vennic-link-%1").arg(++number);
}

DBusLink::~DBusLink() { QDBusConnection::disconnectFromBus(name_); }

// Read anew each time: libdbus reads its environment only once.
QString DBusLink::addressOf(Bus bus) {
    if (bus == Bus::system) {
        QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
        return address.isEmpty() ? QStringLiteral("unix:path=/var/run/dbus/system_bus_socket") : address;
    }
    QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return runtime.isEmpty() ? QString() : QStringLiteral("unix:path=%1/bus").arg(runtime);
}

QDBusConnection DBusLink::connection() {
    const std::scoped_lock lock(opening_);
    if (QDBusConnection current(name_); current.isConnected())
        return current;
    QDBusConnection::disconnectFromBus(name_);
    const QString address = addressOf(bus_);
    return address.isEmpty() ? QDBusConnection(name_) : QDBusConnection::connectToBus(address, name_);
}

QDBusMessage DBusLink::call(const QString& service, const QString& path, const QString& interface,
                            const QString& method, const QVariantList& arguments, std::chrono::milliseconds timeout) {
    return call(service, path, interface, method, arguments, timeout, {});
}

QDBusMessage DBusLink::call(const QString& service, const QString& path, const QString& interface,
                            const QString& method, const QVariantList& arguments, std::chrono::milliseconds timeout,
                            const std::stop_token& stop) {
    const auto message = methodCall(service, path, interface, method, arguments);
    const auto bus = connection();
    if (!bus.isConnected())
        return message.createErrorReply(QDBusError::Disconnected, QStringLiteral("no bus"));
    const auto milliseconds = static_cast<int>(timeout.count());
    return stop.stop_possible() ? answerUntilStopped(bus, message, milliseconds, stop)
                                : bus.call(message, QDBus::Block, milliseconds);
}

void DBusLink::send(const QString& service, const QString& path, const QString& interface, const QString& method,
                    const QVariantList& arguments) {
    connection().send(methodCall(service, path, interface, method, arguments));
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
