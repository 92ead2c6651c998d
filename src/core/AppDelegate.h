#pragma once
#include "core/AppCommands.h"
#include "core/AppSession.h"
#include "core/HallwardenAnchor.h"
#include "core/IncomingURLs.h"
#include "ports/ModalDialogs.h"
#include "shell/SummonMonitor.h"

namespace vennic {

/// What happens between the start of the program and its end, and how links drive it from outside. Main thread only.
class AppDelegate {
public:
    /// Each outlives the delegate.
    struct Surroundings {
        AppSession& session;
        KeyValueStore& store;
        ApplicationWindows& windows;
        ModalDialogs& dialogs;
        MenuBarController& menuBar;
        AppCommands& commands;
        SummonMonitor& summon;
        IncomingURLs& urls;
    };
    enum class TerminateReply { now, cancel };

    explicit AppDelegate(Surroundings surroundings) : with_(surroundings) {}

    void applicationDidFinishLaunching();
    /// Asks the user, unless they said not to be asked. Whoever can't be asked doesn't hold up the end.
    Task<TerminateReply> applicationShouldTerminate();
    void applicationWillTerminate();
    /// Addresses that are no address are ignored.
    void handleIncomingURL(const std::optional<QString>& address);
    /// Whether the link was understood.
    bool handleDesktopDeepLink(const QUrl& url);
    static HallwardenAnchor hallwardenAnchor(const std::optional<QString>& section);

private:
    Task<> follow(QUrl url);

    Surroundings with_;
    Scope jobs_;
};

} // namespace vennic
