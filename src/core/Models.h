#pragma once
#include <QDateTime>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QUuid>

#include <array>
#include <optional>
#include <vector>

/// The words that the whole program speaks in. Raw values are a format: they stand in the preferences and on the
/// wire and must not change.
namespace vennic {

Q_NAMESPACE

/// What the main window shows.
enum class Mode { microphone, chat };
Q_ENUM_NS(Mode)

/// Who answers.
enum class Provider { openai, anthropic, gemini, local };
Q_ENUM_NS(Provider)

/// How the voice tab works.
enum class VoiceMode { pushToTalk, realtime };
Q_ENUM_NS(VoiceMode)

/// How a spoken reply is produced.
enum class AudioOutput { automatic, gpt, local }; // "auto" is a keyword here
Q_ENUM_NS(AudioOutput)

/// What a summon opens.
enum class SummonBehavior { lastUsed, chat, voice };
Q_ENUM_NS(SummonBehavior)

/// The hotkey offered when keys can't be watched globally.
enum class SummonFallbackShortcut { none, commandJ };
Q_ENUM_NS(SummonFallbackShortcut)

/// Every case of a vocabulary, in the order in which it is shown.
template <class E>
inline constexpr std::array<E, 0> allCases = {};
template <>
inline constexpr std::array allCases<Mode> = {Mode::microphone, Mode::chat};
template <>
inline constexpr std::array allCases<Provider> = {Provider::openai, Provider::anthropic, Provider::gemini,
                                                  Provider::local};
template <>
inline constexpr std::array allCases<VoiceMode> = {VoiceMode::pushToTalk, VoiceMode::realtime};
template <>
inline constexpr std::array allCases<AudioOutput> = {AudioOutput::automatic, AudioOutput::gpt, AudioOutput::local};
template <>
inline constexpr std::array allCases<SummonBehavior> = {SummonBehavior::lastUsed, SummonBehavior::chat,
                                                        SummonBehavior::voice};
template <>
inline constexpr std::array allCases<SummonFallbackShortcut> = {SummonFallbackShortcut::none,
                                                                SummonFallbackShortcut::commandJ};

QLatin1String rawValue(Mode mode);
QLatin1String rawValue(Provider provider);
QLatin1String rawValue(VoiceMode mode);
QLatin1String rawValue(AudioOutput output);
QLatin1String rawValue(SummonBehavior behavior);
QLatin1String rawValue(SummonFallbackShortcut shortcut);

/// The case with that raw value; none for any other text.
template <class E>
std::optional<E> fromRawValue(QStringView raw) {
    for (const E value : allCases<E>)
        if (raw == rawValue(value))
            return value;
    return std::nullopt;
}

/// The backend's word, which for push-to-talk isn't the raw value.
QLatin1String wireForm(VoiceMode mode);
/// The mode that the backend's word stands for; none for any other text.
std::optional<VoiceMode> voiceModeFromWire(QStringView word);

/// Short names for the user.
QString label(Provider provider);
QString label(VoiceMode mode);
QString label(AudioOutput output);
QString label(SummonBehavior behavior);
QString label(SummonFallbackShortcut shortcut);

/// One sentence for the user.
QString description(VoiceMode mode);
QString description(AudioOutput output);

/// The name of the provider's symbol.
QLatin1String icon(Provider provider);

/// One line of a conversation.
struct ChatMessage {
    enum class Role { user, assistant };

    QUuid id;
    Role role = Role::user;
    QString content;
    QDateTime createdAt; // UTC, to the millisecond
    bool operator==(const ChatMessage&) const = default;

    /// A message of the moment `now`, with an identity of its own.
    static ChatMessage make(Role role, const QString& content, const QDateTime& now);
};

template <>
inline constexpr std::array allCases<ChatMessage::Role> = {ChatMessage::Role::user, ChatMessage::Role::assistant};
QLatin1String rawValue(ChatMessage::Role role);

/// The stored form, an object with "id" (upper-case UUID), "role", "content" and "createdAt" (seconds since
/// 2001-01-01T00:00:00Z), in that order. None when the time isn't valid.
std::optional<QByteArray> encodeChatMessage(const ChatMessage& message);
/// The message of a stored form; all four keys are required. Raises DecodingError.
ChatMessage decodeChatMessage(const QJsonObject& object);
/// A stored conversation: an array of messages, of which one that can't be read spoils the whole. Raises
/// DecodingError.
std::vector<ChatMessage> decodeConversation(const QByteArray& json);

/// The keys of the preferences. A key that is missing has the default that its reader gives it.
namespace PreferenceKey {
inline constexpr QLatin1String selectedMode("selectedMode");                         // Mode
inline constexpr QLatin1String chatMessages("chatMessages");                         // data: a stored conversation
inline constexpr QLatin1String chatDiscussionId("chatDiscussionId");                 // integer
inline constexpr QLatin1String selectedProvider("selectedProvider");                 // Provider
inline constexpr QLatin1String selectedLocalModel("selectedLocalModel");             // text
inline constexpr QLatin1String selectedCloudModel("selectedCloudModel");             // text
inline constexpr QLatin1String voiceMode("voiceMode");                               // VoiceMode
inline constexpr QLatin1String audioOutput("audioOutput");                           // AudioOutput
inline constexpr QLatin1String whisperTranscription("whisperTranscription");         // boolean
inline constexpr QLatin1String audioVoice("audioVoice");                             // text
inline constexpr QLatin1String doubleCommandEnabled("doubleCommandEnabled");         // boolean
inline constexpr QLatin1String summonBehavior("summonBehavior");                     // SummonBehavior
inline constexpr QLatin1String summonFallbackShortcut("summonFallbackShortcut");     // SummonFallbackShortcut
inline constexpr QLatin1String bridgeEnabled("bridgeEnabled");                       // boolean
inline constexpr QLatin1String localLLMEnabled("localLLMEnabled");                   // boolean
inline constexpr QLatin1String localLLMEndpoint("localLLMEndpoint");                 // text
inline constexpr QLatin1String localLLMModel("localLLMModel");                       // text
inline constexpr QLatin1String localLLMDeviceNickname("localLLMDeviceNickname");     // text
inline constexpr QLatin1String apiBaseURL("apiBaseURL");                             // text, only ever read
inline constexpr QLatin1String highSecurityMode("highSecurityMode");                 // boolean
inline constexpr QLatin1String bridgeAllowedBookmarks("bridgeAllowedBookmarks");     // data: folder grants
inline constexpr QLatin1String settingsInitialTab("settingsInitialTab");             // SettingsTab
inline constexpr QLatin1String hallwardenPanelAnchor("hallwardenPanelAnchor");       // HallwardenAnchor
inline constexpr QLatin1String suppressQuitConfirmation("suppressQuitConfirmation"); // boolean
inline constexpr QLatin1String bridgeDeviceId("vennic.bridgeDeviceId");              // text
} // namespace PreferenceKey

} // namespace vennic
