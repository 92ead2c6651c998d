#pragma once
#include "backend/ChatView.h"
#include "backend/ProviderPicker.h"
#include "ports/DesktopAppearance.h"
#include "settings/SettingsView.h"
#include "shell/MenuBarView.h"

#include <QObject>
#include <QRect>

#include <functional>
#include <memory>
#include <optional>

namespace vennic {

/// The windows of the program, and the engine that draws them. It lives in a module of its own, which is loaded when
/// somebody wants to see something. Main thread only.
class Screen : public QObject {
    Q_OBJECT
public:
    /// What the windows show; each outlives the screen.
    struct Surroundings {
        AppSession& session;
        MenuBarView& menuBar;
        ChatView& chat;
        ProviderPicker& picker;
        SettingsView& settings;
        DesktopAppearance& appearance;
        std::function<void(const QString& address)> followLink; // of a message
        /// Told of the number at the window system of each window that has come up and asked for the keyboard.
        std::function<void(quint64 window)> presented = {};
    };

    using QObject::QObject;

    /// Shows the popover, at the icon that it hangs from (global pixels) or at the pointer. Raises LocalizedError.
    virtual void showPopover(std::optional<QRect> anchor) = 0;
    virtual void closePopover() = 0;
    virtual bool isPopoverShown() const = 0;
    /// Whether that place, in global pixels, is a part of the popover as it is shown.
    virtual bool isInPopover(QPoint place) const = 0;
    /// Gives the popover the keyboard again; nothing when it is closed.
    virtual void activatePopover() = 0;
    /// Shows the settings window on the tab that the preferences name, or brings it to the front with that tab. Raises
    /// LocalizedError.
    virtual void showSettings() = 0;
    /// Brings the settings window to the front as it is. Nothing when it is closed.
    virtual void raiseSettings() = 0;
    virtual bool isSettingsShown() const = 0;

Q_SIGNALS:
    /// After each close, whoever closed it.
    void popoverClosed();
    /// Its keyboard has gone to another window.
    void popoverLeft();
    /// When it has been drawn for the first time since it came up.
    void popoverPainted();
    void settingsClosed();
};

/// What the module gives out under the name `vennicMakeScreen`. Raises LocalizedError.
using MakeScreen = void(const Screen::Surroundings* surroundings, std::unique_ptr<Screen>* made);

} // namespace vennic
