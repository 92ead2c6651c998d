#include "linux_desktop/StandInWatcher.h"

#include "support/Await.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QUuid>

#include <stdexcept>

namespace vennic::test {

StandInWatcher::StandInWatcher(bool withHost)
    : name_(QUuid::createUuid().toString()),
      bus_(QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), name_)), hasHost_(withHost) {
    bus_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                        QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
                            QDBusConnection::ExportAllProperties);
    if (!bus_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")))
        throw std::runtime_error("there is a watcher already");
}

StandInWatcher::~StandInWatcher() { QDBusConnection::disconnectFromBus(name_); }

void StandInWatcher::setHost(bool present) {
    hasHost_ = present;
    if (present)
        Q_EMIT StatusNotifierHostRegistered();
    else
        Q_EMIT StatusNotifierHostUnregistered();
}

QVariantMap StandInWatcher::icon() {
    auto call =
        QDBusMessage::createMethodCall(enlisted.value(enlisted.size() - 1), StatusNotifierObject::path(),
                                       QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    call << QStringLiteral("org.kde.StatusNotifierItem");
    QDBusPendingReply<QVariantMap> reply = bus_.asyncCall(call);
    if (!waitUntil([&] { return reply.isFinished(); }) || reply.isError())
        throw std::runtime_error("the icon doesn't tell: " + reply.error().message().toStdString());
    return reply.value();
}

StatusNotifierPixmaps StandInWatcher::pixmaps() {
    return qdbus_cast<StatusNotifierPixmaps>(icon().value(QStringLiteral("IconPixmap")));
}

void StandInWatcher::click(const QString& method, int x, int y) {
    auto call = QDBusMessage::createMethodCall(enlisted.value(enlisted.size() - 1), StatusNotifierObject::path(),
                                               QStringLiteral("org.kde.StatusNotifierItem"), method);
    call << x << y;
    QDBusPendingReply<> reply = bus_.asyncCall(call);
    if (!waitUntil([&] { return reply.isFinished(); }) || reply.isError())
        throw std::runtime_error("the icon takes no click: " + reply.error().message().toStdString());
}

} // namespace vennic::test
