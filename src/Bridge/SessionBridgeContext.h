#pragma once
#include "Bridge/BridgeContext.h"
#include "backend/KeychainStore.h"
#include "core/AppSession.h"

namespace vennic {

/// The surroundings of the bridge in the program: the shared session, which is built after the bridge, and the
/// credential store.
class SessionBridgeContext final : public BridgeContext {
public:
    explicit SessionBridgeContext(KeychainStore& keychain) : keychain_(keychain) {}

    bool bridgeEnabled() const override { return AppSession::shared().bridgeEnabled(); }
    QString localLLMDeviceNickname() const override { return AppSession::shared().localLLMDeviceNickname(); }
    QString bridgeDeviceId() override { return keychain_.bridgeDeviceId(); }

private:
    KeychainStore& keychain_;
};

} // namespace vennic
