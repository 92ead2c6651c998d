#pragma once
#include <QString>

namespace vennic {

/// What the bridge needs to know of its surroundings, asked anew each time. Main thread only.
class BridgeContext {
public:
    virtual ~BridgeContext() = default;
    /// The user's switch.
    virtual bool bridgeEnabled() const = 0;
    /// As the user typed it; may be empty.
    virtual QString localLLMDeviceNickname() const = 0;
    /// The stable identifier of this machine towards the backend.
    virtual QString bridgeDeviceId() = 0;
};

} // namespace vennic
