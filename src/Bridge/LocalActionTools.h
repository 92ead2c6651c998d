#pragma once
#include "Bridge/LocalToolArguments.h"
#include "Bridge/ScreenControlBridgeHandler.h"

namespace vennic {

/// The local model's tools that make this machine do something. Each gives a text for the model, whatever happens, and
/// fails with Cancelled alone. Main thread only; the work is done off it.
class LocalActionTools {
public:
    explicit LocalActionTools(ScreenControlBridgeHandler screen) : screen_(std::move(screen)) {}

    Task<QString> openApp(LocalToolArguments arguments) const;
    Task<QString> listShortcuts() const;
    Task<QString> runShortcut(LocalToolArguments arguments) const;

private:
    ScreenControlBridgeHandler screen_;
};

} // namespace vennic
