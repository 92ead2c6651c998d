#include "linux/desktop/DesktopAppearancePortal.h"

#include "linux/desktop/XcbLink.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

namespace vennic {

namespace {

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto appearance = QStringLiteral("org.freedesktop.appearance");
const auto colorScheme = QStringLiteral("color-scheme");
const auto gnomeInterface = QStringLiteral("org.gnome.desktop.interface");
const auto enableAnimations = QStringLiteral("enable-animations");
constexpr uint prefersDark = 1; // 0 no preference, 2 light

/// The value itself: `Read` wraps it twice, the signal once.
QVariant unwrapped(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = qvariant_cast<QDBusVariant>(value).variant();
    return value;
}

bool hasCompositingManager() {
    const auto x = XcbLink::open();
    const auto selection =
        x ? x->atom("_NET_WM_CM_S" + QByteArray::number(x->screenNumber())) : xcb_atom_t{XCB_ATOM_NONE};
    if (selection == XCB_ATOM_NONE)
        return false;
    const XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(x->connection(), xcb_get_selection_owner(x->connection(), selection), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace

DesktopAppearancePortal::DesktopAppearancePortal(QDBusConnection bus, const QStringList& gtkSettings)
    : bus_(std::move(bus)), gtkDark_(gtkPrefersDark(gtkSettings)), dark_(gtkDark_) {
    if (!bus_.isConnected())
        return;
    // From whomever: it is a colour, and a portal that starts anew has another address.
    bus_.connect(QString(), path, interface, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QDBusMessage)));
    const auto askAll = [this] {
        ask(appearance, colorScheme);
        ask(gnomeInterface, enableAnimations);
    };
    auto* const watcher = new QDBusServiceWatcher(service, bus_, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, askAll);
    askAll();
}

std::unique_ptr<DesktopAppearancePortal> DesktopAppearancePortal::ofThisDesktop() {
    return std::make_unique<DesktopAppearancePortal>(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("appearance")),
        QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation, QStringLiteral("gtk-4.0/settings.ini")) +
            QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation, QStringLiteral("gtk-3.0/settings.ini")));
}

bool DesktopAppearancePortal::gtkPrefersDark(const QStringList& files) {
    for (const QString& file : files) {
        if (!QFileInfo::exists(file))
            continue;
        QSettings settings(file, QSettings::IniFormat);
        settings.beginGroup(QStringLiteral("Settings"));
        return settings.value(QStringLiteral("gtk-application-prefer-dark-theme")).toBool() ||
               settings.value(QStringLiteral("gtk-theme-name"))
                   .toString()
                   .endsWith(QLatin1String("-dark"), Qt::CaseInsensitive);
    }
    return false;
}

bool DesktopAppearancePortal::isComposited() const {
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY") || hasCompositingManager();
}

void DesktopAppearancePortal::ask(const QString& group, const QString& key) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    call.setArguments({group, key});
    auto* const watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, group, key] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError())
            take(group, key, reply.value().variant());
    });
}

void DesktopAppearancePortal::settingChanged(const QDBusMessage& message) {
    if (message.signature() != u"ssv")
        return;
    const QVariantList said = message.arguments();
    take(said[0].toString(), said[1].toString(), said[2]);
}

void DesktopAppearancePortal::take(const QString& group, const QString& key, const QVariant& value) {
    const QVariant plain = unwrapped(value);
    bool dark = dark_;
    bool animated = animated_;
    if (group == appearance && key == colorScheme) {
        const uint scheme = plain.toUInt();
        dark = scheme == 0 ? gtkDark_ : scheme == prefersDark;
    } else if (group == gnomeInterface && key == enableAnimations && plain.canConvert<bool>()) {
        animated = plain.toBool();
    }
    if (dark == dark_ && animated == animated_)
        return;
    dark_ = dark;
    animated_ = animated;
    if (changed_)
        changed_();
}

} // namespace vennic
