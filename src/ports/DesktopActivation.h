#pragma once
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>

namespace vennic {

/// The road on which the desktop, its launchers and what opens links among them, reaches the running program. One
/// program of the user stands on it at a time. Main thread.
class DesktopActivation {
public:
    /// Each is called from the event loop. Addresses are as they came: at most 64, of 8 KiB each. `allow` comes right
    /// before the one that it is for, where the desktop gave a token by which the window that follows may come before
    /// those of other programs.
    struct Requests {
        std::function<void()> activate; // come forward
        std::function<void(const QStringList& addresses)> open;
        std::function<void(const QString& action)> act; // by the name that the desktop entry gives it
        std::function<void(const QString& token)> allow = {};
    };

    virtual ~DesktopActivation() = default;
    /// Takes requests from now on. False when the desktop has no such road, or another program stands on it.
    virtual bool offer(Requests requests) = 0;
    /// Takes none any more.
    virtual void withdraw() = 0;
    /// From a second start of the program: has the running one open the addresses, or come forward when there are none,
    /// by the token that the second start was given (may be empty). False when no program stands on the road or it
    /// doesn't answer within `limit`. Needs no event loop.
    virtual bool handOver(const QStringList& addresses, const QString& token, std::chrono::milliseconds limit) = 0;
};

} // namespace vennic
