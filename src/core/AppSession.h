#pragma once
#include "backend/APIConfig.h"
#include "backend/APIService.h"
#include "backend/KeychainStore.h"
#include "backend/VennicHTTP.h"
#include "core/BridgeControl.h"
#include "core/ConversationEncoding.h"
#include "core/LocalLLMTelemetrySink.h"
#include "core/Models.h"
#include "core/PreferenceSync.h"

#include <QObject>

namespace vennic {

/// The one observable object of the program: the account, the conversation and every preference that outlives a
/// launch. Each published property has a signal of its own, emitted when its value has changed; after that the value
/// is read back and stored, and what follows from it is told. A write of the same value is stored again. Main thread
/// only; lives as long as the process.
class AppSession final : public QObject {
    Q_OBJECT
    Q_PROPERTY(vennic::Mode mode READ mode WRITE setMode NOTIFY modeChanged)
    Q_PROPERTY(std::vector<vennic::ChatMessage> messages READ messages WRITE setMessages NOTIFY messagesChanged)
    Q_PROPERTY(std::optional<qint64> discussionId READ discussionId WRITE setDiscussionId NOTIFY discussionIdChanged)
    Q_PROPERTY(bool isStreaming READ isStreaming WRITE setIsStreaming NOTIFY isStreamingChanged)
    Q_PROPERTY(std::optional<QString> lastError READ lastError WRITE setLastError NOTIFY lastErrorChanged)
    Q_PROPERTY(std::optional<vennic::SecretText> userToken READ userToken NOTIFY userTokenChanged)
    Q_PROPERTY(vennic::Provider provider READ provider WRITE setProvider NOTIFY providerChanged)
    Q_PROPERTY(
        QString selectedLocalModel READ selectedLocalModel WRITE setSelectedLocalModel NOTIFY selectedLocalModelChanged)
    Q_PROPERTY(
        QString selectedCloudModel READ selectedCloudModel WRITE setSelectedCloudModel NOTIFY selectedCloudModelChanged)
    Q_PROPERTY(vennic::VoiceMode voiceMode READ voiceMode WRITE setVoiceMode NOTIFY voiceModeChanged)
    Q_PROPERTY(vennic::AudioOutput audioOutput READ audioOutput WRITE setAudioOutput NOTIFY audioOutputChanged)
    Q_PROPERTY(bool whisperTranscription READ whisperTranscription WRITE setWhisperTranscription NOTIFY
                   whisperTranscriptionChanged)
    Q_PROPERTY(QString audioVoice READ audioVoice WRITE setAudioVoice NOTIFY audioVoiceChanged)
    Q_PROPERTY(bool doubleCommandEnabled READ doubleCommandEnabled WRITE setDoubleCommandEnabled NOTIFY
                   doubleCommandEnabledChanged)
    Q_PROPERTY(
        vennic::SummonBehavior summonBehavior READ summonBehavior WRITE setSummonBehavior NOTIFY summonBehaviorChanged)
    Q_PROPERTY(vennic::SummonFallbackShortcut summonFallbackShortcut READ summonFallbackShortcut WRITE
                   setSummonFallbackShortcut NOTIFY summonFallbackShortcutChanged)
    Q_PROPERTY(bool globalShortcutPermissionGranted READ globalShortcutPermissionGranted WRITE
                   setGlobalShortcutPermissionGranted NOTIFY globalShortcutPermissionGrantedChanged)
    Q_PROPERTY(std::optional<QString> globalShortcutStatusMessage READ globalShortcutStatusMessage WRITE
                   setGlobalShortcutStatusMessage NOTIFY globalShortcutStatusMessageChanged)
    Q_PROPERTY(bool bridgeEnabled READ bridgeEnabled WRITE setBridgeEnabled NOTIFY bridgeEnabledChanged)
    Q_PROPERTY(bool localLLMEnabled READ localLLMEnabled WRITE setLocalLLMEnabled NOTIFY localLLMEnabledChanged)
    Q_PROPERTY(QString localLLMEndpoint READ localLLMEndpoint WRITE setLocalLLMEndpoint NOTIFY localLLMEndpointChanged)
    Q_PROPERTY(QString localLLMModel READ localLLMModel WRITE setLocalLLMModel NOTIFY localLLMModelChanged)
    Q_PROPERTY(QString localLLMDeviceNickname READ localLLMDeviceNickname WRITE setLocalLLMDeviceNickname NOTIFY
                   localLLMDeviceNicknameChanged)
    Q_PROPERTY(std::optional<QString> userEmail READ userEmail WRITE setUserEmail NOTIFY userEmailChanged)

public:
    /// All that the session touches; each outlives it.
    struct Surroundings {
        KeyValueStore& store;
        KeychainStore& keychain;
        VennicHTTP& http;
        const APIConfig& config;
        BridgeControl& bridge;
        PreferenceSync& preferences;
        LocalLLMTelemetrySink& telemetry;
        QString hostName; // may be empty
    };

    /// Reads the token (the system may ask the user here) and all preferences, then starts what follows from them.
    /// Writes nothing.
    explicit AppSession(Surroundings surroundings);

    /// The session that the program installed.
    static AppSession& shared() { return *shared_; }
    static void install(AppSession* session) { shared_ = session; }

    Mode mode() const { return mode_; }
    const std::vector<ChatMessage>& messages() const { return messages_; }
    std::optional<qint64> discussionId() const { return discussionId_; }
    bool isStreaming() const { return isStreaming_; }
    const std::optional<QString>& lastError() const { return lastError_; }
    const std::optional<SecretText>& userToken() const { return userToken_; }
    Provider provider() const { return provider_; }
    const QString& selectedLocalModel() const { return selectedLocalModel_; }
    const QString& selectedCloudModel() const { return selectedCloudModel_; }
    VoiceMode voiceMode() const { return voiceMode_; }
    AudioOutput audioOutput() const { return audioOutput_; }
    bool whisperTranscription() const { return whisperTranscription_; }
    const QString& audioVoice() const { return audioVoice_; }
    bool doubleCommandEnabled() const { return doubleCommandEnabled_; }
    SummonBehavior summonBehavior() const { return summonBehavior_; }
    SummonFallbackShortcut summonFallbackShortcut() const { return summonFallbackShortcut_; }
    bool globalShortcutPermissionGranted() const { return globalShortcutPermissionGranted_; }
    const std::optional<QString>& globalShortcutStatusMessage() const { return globalShortcutStatusMessage_; }
    bool bridgeEnabled() const { return bridgeEnabled_; }
    bool localLLMEnabled() const { return localLLMEnabled_; }
    const QString& localLLMEndpoint() const { return localLLMEndpoint_; }
    const QString& localLLMModel() const { return localLLMModel_; }
    const QString& localLLMDeviceNickname() const { return localLLMDeviceNickname_; }
    /// Known once the account's preferences have been pulled.
    std::optional<qint64> userId() const { return userId_; }
    const std::optional<QString>& userEmail() const { return userEmail_; }
    /// Whether there is a token that isn't empty.
    bool isAuthenticated() const;

    void setMode(Mode mode);
    void setMessages(std::vector<ChatMessage> messages);
    void appendMessage(ChatMessage message);
    /// Replaces the text of the message at `index`; an index beyond the end changes nothing.
    void setMessageContent(std::size_t index, const QString& content);
    /// Adds to the text of the message at `index`; an index beyond the end changes nothing.
    void appendToMessage(std::size_t index, const QString& delta);
    void setDiscussionId(std::optional<qint64> id);
    void setIsStreaming(bool streaming);
    void setLastError(const std::optional<QString>& error);
    void setProvider(Provider provider);
    void setSelectedLocalModel(const QString& model);
    void setSelectedCloudModel(const QString& model);
    void setVoiceMode(VoiceMode mode);
    void setAudioOutput(AudioOutput output);
    void setWhisperTranscription(bool enabled);
    void setAudioVoice(const QString& voice);
    void setDoubleCommandEnabled(bool enabled);
    void setSummonBehavior(SummonBehavior behavior);
    void setSummonFallbackShortcut(SummonFallbackShortcut shortcut);
    void setGlobalShortcutPermissionGranted(bool granted);
    void setGlobalShortcutStatusMessage(const std::optional<QString>& message);
    void setBridgeEnabled(bool enabled);
    void setLocalLLMEnabled(bool enabled);
    void setLocalLLMEndpoint(const QString& endpoint);
    void setLocalLLMModel(const QString& model);
    void setLocalLLMDeviceNickname(const QString& nickname);
    void setUserId(std::optional<qint64> id) { userId_ = id; }
    void setUserEmail(const std::optional<QString>& email);

    /// Signs in with a token, whose ends are trimmed; an empty one signs out. False when the credential store
    /// refused the token: `lastError` says why, and nothing else has changed.
    bool setToken(const SecretText& raw);
    /// Whether the backend has yet to hear that a token was given up. `tokenRevoked` tells each end, a failed one too.
    bool isRevoking() const { return revoking_ > 0; }
    /// Forgets the messages and the discussion; a reply that streams goes on.
    void clearConversation();
    /// Sets the mode that `summonBehavior` asks for.
    void prepareForSummon();
    /// Starts or stops the bridge by the presence of the token alone.
    void reconcileBridge();

Q_SIGNALS:
    void modeChanged();
    void messagesChanged();
    void discussionIdChanged();
    void isStreamingChanged();
    void lastErrorChanged();
    void userTokenChanged();
    void providerChanged();
    void selectedLocalModelChanged();
    void selectedCloudModelChanged();
    void voiceModeChanged();
    void audioOutputChanged();
    void whisperTranscriptionChanged();
    void audioVoiceChanged();
    void doubleCommandEnabledChanged();
    void summonBehaviorChanged();
    void summonFallbackShortcutChanged();
    void globalShortcutPermissionGrantedChanged();
    void globalShortcutStatusMessageChanged();
    void bridgeEnabledChanged();
    void localLLMEnabledChanged();
    void localLLMEndpointChanged();
    void localLLMModelChanged();
    void localLLMDeviceNicknameChanged();
    void userEmailChanged();
    void tokenRevoked();

private:
    using Signal = void (AppSession::*)();

    void readPreferences();
    QString storedText(QLatin1String key, const QString& fallback) const;
    bool storedFlag(QLatin1String key, bool fallback) const;
    template <class E>
    E storedCase(QLatin1String key, E fallback) const;

    template <class T>
    void publish(T& field, const T& value, Signal changed);
    template <class T>
    void writeThrough(T& field, const T& value, QLatin1String key, Signal changed);
    template <class E>
    void writeCase(E& field, E value, QLatin1String key, Signal changed);

    void setUserToken(const std::optional<SecretText>& token);
    void signOut();
    void forgetStoredToken();
    void persistConversation();
    void scheduleServerSync();
    void handleAuthFailure();
    Task<> hydrateFromServer();
    Task<> revoke(APIService api);
    Task<> answerAuthFailure();

    static AppSession* shared_;

    Surroundings with_;
    Mode mode_ = Mode::chat;
    std::vector<ChatMessage> messages_;
    std::optional<qint64> discussionId_;
    bool isStreaming_ = false;
    std::optional<QString> lastError_;
    std::optional<SecretText> userToken_;
    Provider provider_ = Provider::openai;
    QString selectedLocalModel_;
    QString selectedCloudModel_;
    VoiceMode voiceMode_ = VoiceMode::pushToTalk;
    AudioOutput audioOutput_ = AudioOutput::automatic;
    bool whisperTranscription_ = true;
    QString audioVoice_;
    bool doubleCommandEnabled_ = true;
    SummonBehavior summonBehavior_ = SummonBehavior::lastUsed;
    SummonFallbackShortcut summonFallbackShortcut_ = SummonFallbackShortcut::commandJ;
    bool globalShortcutPermissionGranted_ = false;
    std::optional<QString> globalShortcutStatusMessage_;
    bool bridgeEnabled_ = false;
    bool localLLMEnabled_ = false;
    QString localLLMEndpoint_;
    QString localLLMModel_;
    QString localLLMDeviceNickname_;
    std::optional<qint64> userId_;
    std::optional<QString> userEmail_;
    ConversationEncoding encoding_;
    int revoking_ = 0;
    Scope jobs_;
};

} // namespace vennic
