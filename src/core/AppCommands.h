#pragma once
#include "base/Clock.h"
#include "core/ApplicationWindows.h"
#include "core/SettingsTab.h"
#include "ports/KeyValueStore.h"
#include "shell/MenuBarController.h"

#include <functional>
#include <set>

namespace vennic {

/// Brings the settings window up from a program that has no ordinary windows. Main thread only.
class AppCommands {
public:
    /// Each outlives the commands.
    struct Surroundings {
        KeyValueStore& store;
        ApplicationWindows& windows;
        MenuBarController& menuBar;
        Clock& clock;
    };
    explicit AppCommands(Surroundings surroundings) : with_(surroundings) {}

    /// From code without a view.
    void openSettingsWindow(SettingsTab tab);
    /// From a view that has an action of its own to open the settings with.
    void openSettings(SettingsTab tab, const std::function<void()>& action);

private:
    using WindowNumbers = std::set<quint64>;

    void prepareSettings(SettingsTab tab);
    /// The window appears some time after it was asked for, behind the others: it is looked for six times, then the
    /// search is given up silently.
    Task<> promoteSettingsWindow(WindowNumbers existing, int attemptsRemaining);
    bool promoteFirst(const std::function<bool(const ApplicationWindow&)>& isWanted);

    Surroundings with_;
    Scope jobs_;
};

} // namespace vennic
