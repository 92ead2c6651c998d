#pragma once
#include "ports/DesktopAppearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <memory>

namespace vennic {

/// What the settings portal says (org.freedesktop.portal.Settings: "color-scheme" of org.freedesktop.appearance,
/// "enable-animations" of org.gnome.desktop.interface), else, for light and dark, GTK's settings file. Changes that the
/// portal tells are followed; a portal that comes later is asked then.
class DesktopAppearancePortal final : public QObject, public DesktopAppearance {
    Q_OBJECT
public:
    /// Asks once and returns; what the portal answers comes later, to who follows. `gtkSettings`: paths of
    /// settings.ini, the first that exists counts.
    DesktopAppearancePortal(QDBusConnection bus, const QStringList& gtkSettings);
    /// That of the user of this process.
    static std::unique_ptr<DesktopAppearancePortal> ofThisDesktop();

    bool isDark() const override { return dark_; }
    bool isAnimated() const override { return animated_; }
    /// By the owner of the selection _NET_WM_CM_Sn (Extended Window Manager Hints 1.5); always so under Wayland.
    bool isComposited() const override;
    void follow(std::function<void()> changed) override { changed_ = std::move(changed); }

private Q_SLOTS:
    void settingChanged(const QDBusMessage& message);

private:
    void ask(const QString& group, const QString& key);
    void take(const QString& group, const QString& key, const QVariant& value);
    static bool gtkPrefersDark(const QStringList& files);

    QDBusConnection bus_;
    bool gtkDark_ = false;
    bool dark_ = false;
    bool animated_ = true;
    std::function<void()> changed_;
};

} // namespace vennic
