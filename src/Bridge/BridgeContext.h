#pragma once
#include "Bridge/LocalLLMSettings.h"

#include <QString>

#include <optional>

namespace vennic {

/// What the bridge needs to know of its surroundings, asked anew each time. Main thread only.
class BridgeContext {
public:
    virtual ~BridgeContext() = default;
    /// The user's switch.
    virtual bool bridgeEnabled() const = 0;
    virtual LocalLLMSettings localLLM() const = 0;
    /// As the user typed it; may be empty.
    virtual QString localLLMDeviceNickname() const = 0;
    /// The stable identifier of this machine towards the backend.
    virtual QString bridgeDeviceId() = 0;
    /// Pixels a point of the main screen; none while there is no screen.
    virtual std::optional<double> mainScreenScale() const = 0;
};

} // namespace vennic
