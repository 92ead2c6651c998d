#pragma once
#include "app/Client.h"
#include "app/ScreenHost.h"
#include "backend/CloudCatalog.h"

namespace vennic {

/// What the program shows, and what its windows are bound to. The windows themselves come when they are asked for.
/// Main thread only.
class Surfaces {
public:
    /// What each outlives the surfaces.
    struct Surroundings {
        Client& client;
        DesktopAppearance& appearance;
        QString screenModule;               // the file that holds the windows
        std::function<void()> openSettings; // empty where there are none
        std::function<void()> manageModels; // the settings of the local model; empty where there are none
        std::function<void()> terminate;
        std::function<void(quint64 window)> presented = {}; // as Screen tells it
    };
    explicit Surfaces(Surroundings surroundings);
    ~Surfaces();

    Popover& popover() { return host_; }
    ApplicationWindows& windows() { return host_; }

private:
    /// What a click on a link of a message does.
    void followLink(const QUrl& url);
    void openURL(const QUrl& url);
    Task<> openDocument(QString path);
    Task<> openPhoto(QString percentEncodedIdentifier);
    Task<> openAddress(QString url);

    Surroundings with_;
    SystemClock clock_;
    CloudCatalog catalog_;
    ProviderPicker picker_;
    MenuBarView menuBar_;
    SettingsView settings_;
    ScreenHost host_;
    Scope jobs_;
};

} // namespace vennic
