#pragma once
#include "Bridge/BridgeContext.h"
#include "core/AppSession.h"

#include <QPointer>

namespace vennic {

/// Tells the bridge what it asks of the session, which is made after the bridge.
class SessionBridgeContext final : public BridgeContext {
public:
    explicit SessionBridgeContext(KeychainStore& keychain) : keychain_(keychain) {}
    void follow(AppSession* session) { session_ = session; }

    bool bridgeEnabled() const override { return session_ && session_->bridgeEnabled(); }
    QString localLLMDeviceNickname() const override {
        return session_ ? session_->localLLMDeviceNickname() : QString();
    }
    QString bridgeDeviceId() override {
        // The credential store is asked once: on a desktop each read is a call over D-Bus.
        if (deviceId_.isEmpty())
            deviceId_ = keychain_.bridgeDeviceId();
        return deviceId_;
    }

private:
    KeychainStore& keychain_;
    QPointer<AppSession> session_;
    QString deviceId_;
};

} // namespace vennic
