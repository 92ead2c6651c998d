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
        QString screenModule; // the file that holds the windows
        std::function<void(const QString& address)> followLink;
        std::function<void()> openSettings; // empty where there are none
        std::function<void()> manageModels; // opens the settings of the local model
        std::function<void()> terminate;
        std::function<void(quint64 window)> presented = {}; // as Screen tells it
    };
    explicit Surfaces(Surroundings surroundings);
    ~Surfaces();

    Popover& popover() { return host_; }
    ApplicationWindows& windows() { return host_; }

private:
    void openURL(const QUrl& url);

    Surroundings with_;
    SystemClock clock_;
    CloudCatalog catalog_;
    ProviderPicker picker_;
    MenuBarView menuBar_;
    SettingsView settings_;
    ScreenHost host_;
};

} // namespace vennic
