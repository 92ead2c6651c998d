#include "linux/BusLink.h"

#include <QFileInfo>

#include <atomic>

namespace vennic {

namespace {

QString freshName() {
    static std::atomic<int> count = 0;
    return QStringLiteral("vennic-%1").arg(++count);
}

QString addressOf(BusLink::Bus bus) {
    if (bus == BusLink::Bus::system) {
        const QString named = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
        return named.isEmpty() ? QStringLiteral("unix:path=/run/dbus/system_bus_socket") : named;
    }
    const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return named;
    // Left to itself the library would start a bus for a session that has none.
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString socket = folder + QStringLiteral("/bus");
    if (folder.isEmpty() || !QFileInfo::exists(socket))
        return {};
    return QStringLiteral("unix:path=") + socket;
}

} // namespace

BusLink::BusLink(Bus bus) : bus_(bus), name_(freshName()) {}

BusLink::~BusLink() { QDBusConnection::disconnectFromBus(name_); }

std::optional<QDBusConnection> BusLink::connection() {
    {
        QDBusConnection open(name_);
        if (open.isConnected())
            return open;
    }
    QDBusConnection::disconnectFromBus(name_);
    const QString address = addressOf(bus_);
    if (address.isEmpty() || address.startsWith(QLatin1String("autolaunch:")))
        return std::nullopt;
    QDBusConnection fresh = QDBusConnection::connectToBus(address, name_);
    if (!fresh.isConnected())
        return std::nullopt;
    return fresh;
}

QDBusMessage BusLink::call(const QDBusMessage& message, std::chrono::milliseconds patience) {
    const auto bus = connection();
    if (!bus)
        return QDBusMessage::createError(QDBusError::Disconnected, QStringLiteral("no bus"));
    return bus->call(message, QDBus::Block, static_cast<int>(patience.count()));
}

} // namespace vennic
