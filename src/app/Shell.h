#pragma once
#include "app/Client.h"
#include "app/LinkOpener.h"
#include "core/AppDelegate.h"
#include "ports/DesktopActivation.h"

namespace vennic {

/// What the user and their desktop drive the client by: the icon and its popover, links, and the end. Main thread only.
class Shell {
public:
    /// Each outlives the shell.
    struct Surroundings {
        Client& client;
        Popover& popover;
        ApplicationWindows& windows;
        Pointer& pointer;
        const StatusImages& images;
        std::function<std::unique_ptr<StatusItem>()> makeStatusItem;
        SummonMonitor& summon;
        DesktopActivation& desktop;
        std::function<void()> quit;                           // ends the program
        std::function<void(const QString& token)> allow = {}; // lets the next window come before others
    };
    explicit Shell(Surroundings surroundings);

    /// Puts everything there and takes the desktop's requests.
    void start();
    /// Takes no more requests. The program ends after this.
    void end();

    /// Asks the user and ends the program if they want that. Nothing while they are being asked.
    void terminate();
    /// Has the popover come up; it stays when it is up. Raises LocalizedError.
    void comeForward();
    /// Opens the settings, and tells the user when there is nothing to show them on. For buttons and menus, which have
    /// nobody to hand a failure to.
    void openSettings(SettingsTab tab);
    /// Follows links of the desktop, which any web page can hand over: what isn't one of the program's own does
    /// nothing.
    void open(const QStringList& addresses);
    /// What a click on a link in a window does.
    void follow(const QString& address);

    MenuBarController& menuBar() { return menuBar_; }
    AppDelegate& delegate() { return delegate_; }
    LinkOpener& links() { return links_; }

private:
    /// Holds whoever wants the addresses that lead into the program itself.
    class DeepLinks final : public IncomingURLs {
    public:
        void setHandler(Handler handler) override { handler_ = std::move(handler); }
        void removeHandler() override { handler_ = {}; }
        void take(const QString& address) const;

    private:
        Handler handler_;
    };

    Task<> askAndQuit();
    void activate();
    void act(const QString& action);
    void warn(const QString& reason);

    Surroundings with_;
    SystemClock clock_;
    DeepLinks deepLinks_;
    LinkOpener links_;
    MenuBarController menuBar_;
    AppCommands commands_;
    AppDelegate delegate_;
    bool isAsking_ = false;
    Scope following_;
    Scope jobs_;
};

} // namespace vennic
