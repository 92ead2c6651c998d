#pragma once
#include "base/LocalizedError.h"

#include <QtGlobal>

#include <vector>

namespace vennic {

/// One window of the program. Its number is its own for the life of the process.
struct ApplicationWindow {
    quint64 number = 0;
    bool canBecomeMain = false; // an ordinary window; the popover isn't one
    bool isVisible = false;
    bool operator==(const ApplicationWindow&) const = default;
};

/// The windows that the program has on the screen. Main thread.
class ApplicationWindows {
public:
    virtual ~ApplicationWindows() = default;
    /// Every window, shown or not, oldest first.
    virtual std::vector<ApplicationWindow> windows() const = 0;
    /// Makes this the program that the user works with. Nothing where the desktop gives the keyboard to windows instead
    /// of programs: each window asks for it when it comes up.
    virtual void activate() = 0;
    /// Asks for the settings window, which may come up later. Its tab stands in the preferences. Raises LocalizedError
    /// when there is nothing to show it on.
    virtual void showSettings() = 0;
    /// Puts a window before all others and gives it the keyboard. Nothing when there is no such window.
    virtual void bringForward(quint64 number) = 0;
};

/// A program without a screen.
class NoApplicationWindows final : public ApplicationWindows {
public:
    /// Why there is none: a French sentence.
    explicit NoApplicationWindows(QString reason) : reason_(std::move(reason)) {}
    std::vector<ApplicationWindow> windows() const override { return {}; }
    void activate() override {}
    void showSettings() override { throw LocalizedError(reason_); }
    void bringForward(quint64) override {}

private:
    QString reason_;
};

} // namespace vennic
