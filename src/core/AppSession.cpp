#include "core/AppSession.h"

#include "base/Json.h"
#include "base/Localized.h"

namespace vennic {

namespace {

Task<> tellTelemetry(LocalLLMTelemetrySink* telemetry, std::optional<QString> endpoint, std::optional<bool> enabled) {
    if (endpoint)
        co_await telemetry->setEndpoint(std::move(*endpoint));
    if (enabled)
        co_await telemetry->setModelProbeEnabled(*enabled);
}

} // namespace

AppSession* AppSession::shared_ = nullptr;

AppSession::AppSession(Surroundings surroundings) : with_(std::move(surroundings)) {
    userToken_ = with_.keychain.read(localized("Authentifie-toi pour accéder à Vennic"));
    readPreferences();
    jobs_.start(tellTelemetry(&with_.telemetry, localLLMEndpoint_, localLLMEnabled_));
    if (isAuthenticated())
        jobs_.start(hydrateFromServer());
    reconcileBridge();
    connect(&with_.http.authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure, this,
            [this] { jobs_.start(answerAuthFailure()); });
}

bool AppSession::isAuthenticated() const { return userToken_ && !userToken_->isEmpty(); }

// Reading what was stored

QString AppSession::storedText(QLatin1String key, const QString& fallback) const {
    return storedAs<QString>(with_.store, key).value_or(fallback);
}

bool AppSession::storedFlag(QLatin1String key, bool fallback) const {
    return storedAs<bool>(with_.store, key).value_or(fallback);
}

template <class E>
E AppSession::storedCase(QLatin1String key, E fallback) const {
    const auto raw = storedAs<QString>(with_.store, key);
    return raw ? fromRawValue<E>(*raw).value_or(fallback) : fallback;
}

void AppSession::readPreferences() {
    mode_ = storedCase(PreferenceKey::selectedMode, Mode::chat);
    provider_ = storedCase(PreferenceKey::selectedProvider, Provider::openai);
    voiceMode_ = storedCase(PreferenceKey::voiceMode, VoiceMode::pushToTalk);
    audioOutput_ = storedCase(PreferenceKey::audioOutput, AudioOutput::automatic);
    whisperTranscription_ = storedFlag(PreferenceKey::whisperTranscription, true);
    audioVoice_ = storedText(PreferenceKey::audioVoice, {});
    doubleCommandEnabled_ = storedFlag(PreferenceKey::doubleCommandEnabled, true);
    summonBehavior_ = storedCase(PreferenceKey::summonBehavior, SummonBehavior::lastUsed);
    summonFallbackShortcut_ = storedCase(PreferenceKey::summonFallbackShortcut, SummonFallbackShortcut::commandJ);
    discussionId_ = storedAs<qint64>(with_.store, PreferenceKey::chatDiscussionId);
    if (const auto stored = storedAs<QByteArray>(with_.store, PreferenceKey::chatMessages)) {
        try {
            messages_ = decodeConversation(*stored);
        } catch (const DecodingError&) { // NOLINT(bugprone-empty-catch): unreadable data stays until the next write
        }
    }
    bridgeEnabled_ = storedFlag(PreferenceKey::bridgeEnabled, false);
    localLLMEnabled_ = storedFlag(PreferenceKey::localLLMEnabled, false);
    localLLMEndpoint_ = storedText(PreferenceKey::localLLMEndpoint, QStringLiteral("http://localhost:8080/v1"));
    localLLMModel_ = storedText(PreferenceKey::localLLMModel, QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"));
    selectedLocalModel_ = storedText(PreferenceKey::selectedLocalModel, {});
    selectedCloudModel_ = storedText(PreferenceKey::selectedCloudModel, {});
    localLLMDeviceNickname_ = storedText(PreferenceKey::localLLMDeviceNickname, {});
    if (localLLMDeviceNickname_.isEmpty())
        localLLMDeviceNickname_ = with_.hostName.isEmpty() ? QStringLiteral("Mac") : with_.hostName;
}

// Writing

template <class T>
void AppSession::publish(T& field, const T& value, Signal changed) {
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)();
}

template <class T>
void AppSession::writeThrough(T& field, const T& value, QLatin1String key, Signal changed) {
    publish(field, value, changed);
    with_.store.set(key, field); // read back: an observer may have written in between
}

template <class E>
void AppSession::writeCase(E& field, E value, QLatin1String key, Signal changed) {
    publish(field, value, changed);
    with_.store.set(key, QString(rawValue(field)));
}

void AppSession::setMode(Mode mode) { writeCase(mode_, mode, PreferenceKey::selectedMode, &AppSession::modeChanged); }

void AppSession::setMessages(std::vector<ChatMessage> messages) {
    messages_ = std::move(messages);
    Q_EMIT messagesChanged();
    persistConversation();
}

void AppSession::appendMessage(ChatMessage message) {
    messages_.push_back(std::move(message));
    Q_EMIT messagesChanged();
    persistConversation();
}

void AppSession::setMessageContent(std::size_t index, const QString& content) {
    if (index >= messages_.size())
        return;
    messages_[index].content = content;
    Q_EMIT messagesChanged();
    persistConversation();
}

void AppSession::appendToMessage(std::size_t index, const QString& delta) {
    if (index >= messages_.size())
        return;
    messages_[index].content += delta;
    Q_EMIT messagesChanged();
    persistConversation();
}

void AppSession::setDiscussionId(std::optional<qint64> id) {
    publish(discussionId_, id, &AppSession::discussionIdChanged);
    if (discussionId_)
        with_.store.set(PreferenceKey::chatDiscussionId, *discussionId_);
    else
        with_.store.remove(PreferenceKey::chatDiscussionId);
}

void AppSession::setIsStreaming(bool streaming) { publish(isStreaming_, streaming, &AppSession::isStreamingChanged); }

void AppSession::setLastError(const std::optional<QString>& error) {
    publish(lastError_, error, &AppSession::lastErrorChanged);
}

void AppSession::setUserToken(const std::optional<SecretText>& token) {
    publish(userToken_, token, &AppSession::userTokenChanged);
}

void AppSession::setProvider(Provider provider) {
    writeCase(provider_, provider, PreferenceKey::selectedProvider, &AppSession::providerChanged);
    scheduleServerSync();
}

void AppSession::setSelectedLocalModel(const QString& model) {
    writeThrough(selectedLocalModel_, model, PreferenceKey::selectedLocalModel, &AppSession::selectedLocalModelChanged);
}

void AppSession::setSelectedCloudModel(const QString& model) {
    writeThrough(selectedCloudModel_, model, PreferenceKey::selectedCloudModel, &AppSession::selectedCloudModelChanged);
}

void AppSession::setVoiceMode(VoiceMode mode) {
    writeCase(voiceMode_, mode, PreferenceKey::voiceMode, &AppSession::voiceModeChanged);
    scheduleServerSync();
}

void AppSession::setAudioOutput(AudioOutput output) {
    writeCase(audioOutput_, output, PreferenceKey::audioOutput, &AppSession::audioOutputChanged);
    scheduleServerSync();
}

void AppSession::setWhisperTranscription(bool enabled) {
    writeThrough(whisperTranscription_, enabled, PreferenceKey::whisperTranscription,
                 &AppSession::whisperTranscriptionChanged);
    scheduleServerSync();
}

void AppSession::setAudioVoice(const QString& voice) {
    writeThrough(audioVoice_, voice, PreferenceKey::audioVoice, &AppSession::audioVoiceChanged);
    scheduleServerSync();
}

void AppSession::setDoubleCommandEnabled(bool enabled) {
    writeThrough(doubleCommandEnabled_, enabled, PreferenceKey::doubleCommandEnabled,
                 &AppSession::doubleCommandEnabledChanged);
}

void AppSession::setSummonBehavior(SummonBehavior behavior) {
    writeCase(summonBehavior_, behavior, PreferenceKey::summonBehavior, &AppSession::summonBehaviorChanged);
}

void AppSession::setSummonFallbackShortcut(SummonFallbackShortcut shortcut) {
    writeCase(summonFallbackShortcut_, shortcut, PreferenceKey::summonFallbackShortcut,
              &AppSession::summonFallbackShortcutChanged);
}

void AppSession::setGlobalShortcutPermissionGranted(bool granted) {
    publish(globalShortcutPermissionGranted_, granted, &AppSession::globalShortcutPermissionGrantedChanged);
}

void AppSession::setGlobalShortcutStatusMessage(const std::optional<QString>& message) {
    publish(globalShortcutStatusMessage_, message, &AppSession::globalShortcutStatusMessageChanged);
}

void AppSession::setBridgeEnabled(bool enabled) {
    writeThrough(bridgeEnabled_, enabled, PreferenceKey::bridgeEnabled, &AppSession::bridgeEnabledChanged);
    reconcileBridge();
}

void AppSession::setLocalLLMEnabled(bool enabled) {
    writeThrough(localLLMEnabled_, enabled, PreferenceKey::localLLMEnabled, &AppSession::localLLMEnabledChanged);
    jobs_.start(tellTelemetry(&with_.telemetry, std::nullopt, localLLMEnabled_));
    reconcileBridge();
}

void AppSession::setLocalLLMEndpoint(const QString& endpoint) {
    writeThrough(localLLMEndpoint_, endpoint, PreferenceKey::localLLMEndpoint, &AppSession::localLLMEndpointChanged);
    jobs_.start(tellTelemetry(&with_.telemetry, localLLMEndpoint_, std::nullopt));
}

void AppSession::setLocalLLMModel(const QString& model) {
    writeThrough(localLLMModel_, model, PreferenceKey::localLLMModel, &AppSession::localLLMModelChanged);
}

void AppSession::setLocalLLMDeviceNickname(const QString& nickname) {
    writeThrough(localLLMDeviceNickname_, nickname, PreferenceKey::localLLMDeviceNickname,
                 &AppSession::localLLMDeviceNicknameChanged);
}

void AppSession::setUserEmail(const std::optional<QString>& email) {
    publish(userEmail_, email, &AppSession::userEmailChanged);
}

// What the program asks of the session

bool AppSession::setToken(const SecretText& raw) {
    const SecretText token = raw.trimmed();
    if (token.isEmpty()) {
        signOut();
        return true;
    }
    try {
        with_.keychain.save(token);
    } catch (const KeychainError& error) {
        setLastError(error.errorDescription());
        return false;
    }
    setUserToken(token);
    jobs_.start(hydrateFromServer());
    reconcileBridge();
    return true;
}

void AppSession::signOut() {
    if (isAuthenticated()) {
        ++revoking_;
        jobs_.start(revoke(APIService{with_.http, with_.config, userToken_, {}}));
    }
    forgetStoredToken();
    setUserToken(std::nullopt);
    setUserEmail(std::nullopt);
    with_.bridge.stop();
}

void AppSession::forgetStoredToken() {
    try {
        with_.keychain.remove();
    } catch (const KeychainError&) { // NOLINT(bugprone-empty-catch): the session goes on without the token anyway
    }
}

void AppSession::clearConversation() {
    setMessages({});
    setDiscussionId(std::nullopt);
}

void AppSession::prepareForSummon() {
    switch (summonBehavior_) {
    case SummonBehavior::lastUsed:
        return;
    case SummonBehavior::chat:
        return setMode(Mode::chat);
    case SummonBehavior::voice:
        return setMode(Mode::microphone);
    }
}

void AppSession::reconcileBridge() {
    if (userToken_ && !userToken_->isEmpty())
        with_.bridge.start(*userToken_);
    else
        with_.bridge.stop();
}

// What follows

void AppSession::persistConversation() {
    if (messages_.empty())
        with_.store.remove(PreferenceKey::chatMessages);
    else if (auto stored = encoding_.encode(messages_))
        with_.store.set(PreferenceKey::chatMessages, std::move(*stored));
}

void AppSession::scheduleServerSync() { with_.preferences.schedule(this); }

/// Ends the token of `api` at the backend.
Task<> AppSession::revoke(APIService api) {
    try {
        co_await api.revokeCurrentSession();
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): signing out doesn't depend on the backend
    }
    --revoking_;
    Q_EMIT tokenRevoked();
}

Task<> AppSession::hydrateFromServer() { co_await with_.preferences.hydrate(this); }

Task<> AppSession::answerAuthFailure() {
    handleAuthFailure();
    co_return;
}

void AppSession::handleAuthFailure() {
    if (!isAuthenticated())
        return;
    forgetStoredToken();
    setUserToken(std::nullopt);
    with_.bridge.stop();
    setLastError(localized("Session expirée. Recolle ton jeton dans Réglages (⌘,)."));
}

} // namespace vennic
