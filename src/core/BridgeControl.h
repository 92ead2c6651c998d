#pragma once
#include "base/SecretText.h"

namespace vennic {

/// What the session asks of the bridge, and all that it knows of it.
class BridgeControl {
public:
    virtual ~BridgeControl() = default;
    virtual void start(SecretText token) = 0;
    virtual void stop() = 0;
};

} // namespace vennic
