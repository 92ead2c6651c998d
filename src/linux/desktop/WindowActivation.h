#pragma once
#include <QString>

#include <optional>
#include <xcb/xcb.h>

namespace vennic {

/// Lets a window of ours come before those of the program that the user just worked with, as the desktop allowed by a
/// token: one of xdg-activation, or an identifier of the startup notification, whose end tells the time of the press.
/// Without one a desktop takes a window that comes up for an intrusion. Main thread only.
class WindowActivation {
public:
    /// More than any desktop's has.
    static constexpr qsizetype longestToken = 1024;

    /// The token that this process was started with, which it then has no more; empty when there is none.
    static QString ofThisProcess();

    /// The next window comes up by this. An empty or overlong token changes nothing.
    void allow(const QString& token);
    /// To be called when a window has come up and asked for the keyboard: its number at the window system.
    void present(quint64 window);

    /// The time that ends an identifier of the startup notification; none when it has none.
    static std::optional<quint32> timeOf(const QString& token);
    /// Says to an X server's window manager that a window is what a press at `time` asked for: by the property
    /// _NET_WM_USER_TIME and the message _NET_ACTIVE_WINDOW (Extended Window Manager Hints 1.5).
    static void present(xcb_connection_t* connection, xcb_window_t window, quint32 time);

private:
    QString token_;
};

} // namespace vennic
