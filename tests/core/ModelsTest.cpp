#include "core/Models.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

template <class E>
QStringList rawValues() {
    QStringList raws;
    for (const E value : allCases<E>)
        raws.append(rawValue(value));
    return raws;
}

template <class E>
QStringList labels() {
    QStringList texts;
    for (const E value : allCases<E>)
        texts.append(label(value));
    return texts;
}

QStringList words(const char* text) { return QString::fromUtf8(text).split(QChar(u'|')); }

TEST(Vocabulary, rawValuesStandInTheirOrder) {
    EXPECT_EQ(rawValues<Mode>(), words("microphone|chat"));
    EXPECT_EQ(rawValues<Provider>(), words("openai|anthropic|gemini|local"));
    EXPECT_EQ(rawValues<VoiceMode>(), words("pushToTalk|realtime"));
    EXPECT_EQ(rawValues<AudioOutput>(), words("auto|gpt|local"));
    EXPECT_EQ(rawValues<SummonBehavior>(), words("lastUsed|chat|voice"));
    EXPECT_EQ(rawValues<SummonFallbackShortcut>(), words("none|commandJ"));
    EXPECT_EQ(rawValues<ChatMessage::Role>(), words("user|assistant"));
}

template <class E>
void expectRoundTrip() {
    for (const E value : allCases<E>)
        EXPECT_EQ(fromRawValue<E>(QString(rawValue(value))), value);
    for (const char* raw : {"", " ", "Chat", "CHAT", "chat ", "inconnu", "ptt"})
        EXPECT_EQ(fromRawValue<E>(QString::fromUtf8(raw)), std::nullopt) << raw;
}

TEST(Vocabulary, everyRawValueIsReadBackAndNothingElseIs) {
    expectRoundTrip<Mode>();
    expectRoundTrip<Provider>();
    expectRoundTrip<VoiceMode>();
    expectRoundTrip<AudioOutput>();
    expectRoundTrip<SummonBehavior>();
    expectRoundTrip<SummonFallbackShortcut>();
    expectRoundTrip<ChatMessage::Role>();
}

TEST(Vocabulary, theBackendHasItsOwnWordForPushToTalk) {
    EXPECT_EQ(wireForm(VoiceMode::pushToTalk), QLatin1String("ptt"));
    EXPECT_EQ(wireForm(VoiceMode::realtime), QLatin1String("realtime"));
    EXPECT_EQ(voiceModeFromWire(u"ptt"), VoiceMode::pushToTalk);
    EXPECT_EQ(voiceModeFromWire(u"realtime"), VoiceMode::realtime);
    EXPECT_EQ(voiceModeFromWire(u"pushToTalk"), std::nullopt);
}

TEST(Vocabulary, labelsAreThoseOfTheScreen) {
    EXPECT_EQ(labels<Provider>(), words("ChatGPT|Claude|Gemini|Self-Hosted"));
    EXPECT_EQ(labels<VoiceMode>(), words("Push-to-talk|Temps réel"));
    EXPECT_EQ(labels<AudioOutput>(), words("Auto|Voix GPT|Voix système"));
    EXPECT_EQ(labels<SummonBehavior>(), words("Dernier mode utilisé|Toujours le chat|Toujours la voix"));
    EXPECT_EQ(labels<SummonFallbackShortcut>(), words("Aucun|⌘J"));
}

TEST(Vocabulary, descriptionsAreThoseOfTheScreen) {
    EXPECT_EQ(description(VoiceMode::pushToTalk), QStringLiteral("Appuie, parle, relâche. Transcription + réponse."));
    EXPECT_EQ(description(VoiceMode::realtime), QStringLiteral("Conversation bidirectionnelle via OpenAI Realtime."));
    EXPECT_EQ(description(AudioOutput::automatic), QStringLiteral("Voix GPT si disponible, sinon synthèse locale."));
    EXPECT_EQ(description(AudioOutput::gpt), QStringLiteral("Toujours la voix de GPT (provider OpenAI uniquement)."));
    EXPECT_EQ(description(AudioOutput::local), QStringLiteral("Synthèse vocale macOS (AVSpeechSynthesizer)."));
}

TEST(Vocabulary, eachProviderHasItsSymbol) {
    QStringList icons;
    for (const Provider provider : allCases<Provider>)
        icons.append(icon(provider));
    EXPECT_EQ(icons, words("sparkles|a.circle|g.circle|cpu"));
}

} // namespace
} // namespace vennic
