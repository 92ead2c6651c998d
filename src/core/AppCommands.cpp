#include "core/AppCommands.h"

namespace vennic {

namespace {
constexpr int promotionAttempts = 6;
constexpr auto promotionPause = std::chrono::milliseconds{50};
} // namespace

void AppCommands::openSettingsWindow(SettingsTab tab) {
    openSettings(tab, [this] { with_.windows.showSettings(); });
}

void AppCommands::openSettings(SettingsTab tab, const std::function<void()>& action) {
    prepareSettings(tab);
    with_.menuBar.closePopover();
    WindowNumbers existing;
    for (const ApplicationWindow& window : with_.windows.windows())
        existing.insert(window.number);
    with_.windows.activate();
    action();
    jobs_.start(promoteSettingsWindow(std::move(existing), promotionAttempts));
}

void AppCommands::prepareSettings(SettingsTab tab) {
    with_.store.set(PreferenceKey::settingsInitialTab, QString(rawValue(tab)));
}

Task<> AppCommands::promoteSettingsWindow(WindowNumbers existing, int attemptsRemaining) {
    for (; attemptsRemaining >= 1; --attemptsRemaining) {
        co_await with_.clock.sleep(promotionPause);
        with_.windows.activate();
        if (promoteFirst([&existing](const ApplicationWindow& window) {
                return window.canBecomeMain && !existing.contains(window.number);
            }))
            co_return;
        // None is new: it was open already.
        if (promoteFirst([](const ApplicationWindow& window) { return window.canBecomeMain && window.isVisible; }))
            co_return;
    }
}

bool AppCommands::promoteFirst(const std::function<bool(const ApplicationWindow&)>& isWanted) {
    for (const ApplicationWindow& window : with_.windows.windows()) {
        if (!isWanted(window))
            continue;
        with_.windows.bringForward(window.number);
        return true;
    }
    return false;
}

} // namespace vennic
