#pragma once
#include "Bridge/BridgeContext.h"
#include "core/AppSession.h"

#include <QPointer>

#include <functional>
#include <optional>

namespace vennic {

/// Tells the bridge what it asks of the session, which is made after the bridge.
class SessionBridgeContext final : public BridgeContext {
public:
    /// Pixels for each point; none where there is no screen.
    using ScreenScale = std::function<std::optional<double>()>;

    SessionBridgeContext(KeychainStore& keychain, const KeyValueStore& preferences, ScreenScale screenScale)
        : keychain_(keychain), preferences_(preferences), screenScale_(std::move(screenScale)) {}
    void follow(AppSession* session) { session_ = session; }

    bool bridgeEnabled() const override { return session_ && session_->bridgeEnabled(); }
    LocalLLMSettings localLLM() const override {
        if (!session_)
            return {};
        return {.enabled = session_->localLLMEnabled(),
                .endpoint = session_->localLLMEndpoint(),
                .model = session_->localLLMModel()};
    }
    QString localLLMDeviceNickname() const override {
        return session_ ? session_->localLLMDeviceNickname() : QString();
    }
    QString bridgeDeviceId() override {
        if (!deviceId_.isEmpty())
            return deviceId_;
        QString id = keychain_.bridgeDeviceId();
        // One that the credential store keeps is asked for once: on a desktop each read is a call over D-Bus. The
        // stand-in for a store that is locked holds until the store opens.
        if (!preferences_.value(PreferenceKey::bridgeDeviceId))
            deviceId_ = id;
        return id;
    }
    std::optional<double> mainScreenScale() const override { return screenScale_(); }

private:
    KeychainStore& keychain_;
    const KeyValueStore& preferences_;
    ScreenScale screenScale_;
    QPointer<AppSession> session_;
    QString deviceId_;
};

} // namespace vennic
