#pragma once
#include "Bridge/FileURL.h"
#include "Bridge/TaskAnswer.h"
#include "ports/AutomationTool.h"
#include "ports/Workspace.h"

#include <memory>

namespace vennic {

/// The two ways in which this machine acts on its own: it starts an application by name, and it runs an automation of
/// the user's. Answers `app_open`, `shortcut_run` and `shortcut_list`. The handlers are called on the main thread and
/// do their work off it; a success that can't be sent is dropped.
class ScreenControlBridgeHandler {
public:
    ScreenControlBridgeHandler(std::shared_ptr<Workspace> workspace, std::shared_ptr<AutomationTool> automations)
        : workspace_(std::move(workspace)), automations_(std::move(automations)) {}

    // Each sends its own answer. None fails but with Cancelled, which also ends an automation that runs.
    Task<> handleOpenApp(BridgeTask task, AppOpenArgs args, APIService api) const;
    Task<> handleRunShortcut(BridgeTask task, ShortcutRunArgs args, APIService api) const;
    Task<> handleListShortcuts(BridgeTask task, APIService api) const;

    /// Opens the application of that name. Blocks until it has been started. Raises ApplicationNotFound and what the
    /// platform raises. From any thread.
    void openApp(const QString& name, std::stop_token stop) const;
    /// The sentences of a run and of a list that failed.
    static QString shortcutRunFailed(const std::exception& error);
    static QString shortcutListFailed(const std::exception& error);

    /// The desktop entry of the application with that identifier, file name or exact name, in this order; an ending
    /// ".desktop" may be left out. Reads the disk. From any thread.
    std::optional<FileURL> locateApp(const QString& name) const;

    /// What the tool writes, without whitespace and newlines at its ends; output that isn't UTF-8 counts as empty.
    /// Blocks until the tool ends. Raises ShortcutsCLIError when it ends with another status than 0, else what
    /// AutomationTool raises. From any thread.
    QString runShortcutsCLI(const QStringList& args, const std::optional<QString>& input,
                            std::stop_token stop = {}) const;

private:
    std::shared_ptr<Workspace> workspace_;
    std::shared_ptr<AutomationTool> automations_;
};

} // namespace vennic
