#pragma once
#include "core/ApplicationWindows.h"
#include "shell/Popover.h"
#include "shell/Screen.h"

#include <QElapsedTimer>
#include <QTimer>

namespace vennic {

/// Holds the screen for as long as somebody looks at it: its module is loaded when something is shown for the first
/// time, and a minute after everything is closed its windows and its engine are gone. Main thread only.
class ScreenHost final : public Popover, public ApplicationWindows {
    Q_OBJECT
public:
    static constexpr std::chrono::seconds usualPatience{60};
    using Make = std::function<std::unique_ptr<Screen>()>;

    /// `make` raises LocalizedError. `released` is called when the screen has gone, `patience` after the last close.
    ScreenHost(Make make, std::function<void()> released, std::chrono::milliseconds patience = usualPatience);

    bool isShown() const override { return screen_ && screen_->isPopoverShown(); }
    void show(std::optional<QRect> anchor) override;
    void close() override;
    bool contains(QPoint place) const override { return screen_ && screen_->isInPopover(place); }
    void takeKeyboard() override;

    std::vector<ApplicationWindow> windows() const override;
    void activate() override {} // windows ask for themselves
    void showSettings() override;
    void bringForward(quint64 number) override;

    /// Whether there is a screen at present.
    bool isLoaded() const { return screen_ != nullptr; }

    /// Makes a screen by the module at `path`.
    static std::unique_ptr<Screen> load(const QString& path, const Screen::Surroundings& surroundings);

private:
    Screen& screen();
    void letGoLater();

    Make make_;
    std::function<void()> released_;
    std::unique_ptr<Screen> screen_;
    QTimer unused_;
    QElapsedTimer summoned_;
};

} // namespace vennic
