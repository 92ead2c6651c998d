#include "linux/desktop/TrayProbe.h"

#include "linux/DBusLink.h"
#include "linux/desktop/XcbLink.h"

#include <QDBusVariant>

namespace vennic {

namespace {

bool hasStatusNotifierHost() {
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    DBusLink bus(DBusLink::Bus::session);
    const QDBusMessage reply = bus.call(
        watcher, QStringLiteral("/StatusNotifierWatcher"), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"), {watcher, QStringLiteral("IsStatusNotifierHostRegistered")}, std::chrono::seconds{1});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

bool hasEmbeddingTray() {
    const auto link = XcbLink::open();
    if (!link)
        return false;
    const xcb_atom_t selection = link->atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(link->screenNumber()));
    const XcbReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        link->connection(), xcb_get_selection_owner(link->connection(), selection), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace

TrayKind trayOfThisDesktop() {
    if (hasStatusNotifierHost())
        return TrayKind::statusNotifier;
    return hasEmbeddingTray() ? TrayKind::embedding : TrayKind::none;
}

} // namespace vennic
