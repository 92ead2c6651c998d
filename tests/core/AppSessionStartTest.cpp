#include "core/SessionFixture.h"

namespace vennic {
namespace {

using Start = test::SessionFixture;

TEST_F(Start, everyPropertyHasItsDefault) {
    const AppSession& fresh = session();
    EXPECT_EQ(fresh.mode(), Mode::chat);
    EXPECT_TRUE(fresh.messages().empty());
    EXPECT_EQ(fresh.discussionId(), std::nullopt);
    EXPECT_FALSE(fresh.isStreaming());
    EXPECT_EQ(fresh.lastError(), std::nullopt);
    EXPECT_EQ(fresh.userToken(), std::nullopt);
    EXPECT_FALSE(fresh.isAuthenticated());
    EXPECT_EQ(fresh.provider(), Provider::openai);
    EXPECT_EQ(fresh.selectedLocalModel(), QString());
    EXPECT_EQ(fresh.selectedCloudModel(), QString());
    EXPECT_EQ(fresh.voiceMode(), VoiceMode::pushToTalk);
    EXPECT_EQ(fresh.audioOutput(), AudioOutput::automatic);
    EXPECT_TRUE(fresh.whisperTranscription());
    EXPECT_EQ(fresh.audioVoice(), QString());
    EXPECT_TRUE(fresh.doubleCommandEnabled());
    EXPECT_EQ(fresh.summonBehavior(), SummonBehavior::lastUsed);
    EXPECT_EQ(fresh.summonFallbackShortcut(), SummonFallbackShortcut::commandJ);
    EXPECT_FALSE(fresh.globalShortcutPermissionGranted());
    EXPECT_EQ(fresh.globalShortcutStatusMessage(), std::nullopt);
    EXPECT_FALSE(fresh.bridgeEnabled());
    EXPECT_FALSE(fresh.localLLMEnabled());
    EXPECT_EQ(fresh.localLLMEndpoint(), QStringLiteral("http://localhost:8080/v1"));
    EXPECT_EQ(fresh.localLLMModel(), QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"));
    EXPECT_EQ(fresh.localLLMDeviceNickname(), QStringLiteral("atelier"));
    EXPECT_EQ(fresh.userId(), std::nullopt);
    EXPECT_EQ(fresh.userEmail(), std::nullopt);
}

TEST_F(Start, everyStoredValueIsRead) {
    putText("selectedMode", "microphone");
    putText("selectedProvider", "local");
    putText("selectedLocalModel", "m1");
    putText("selectedCloudModel", "m2");
    putText("voiceMode", "realtime");
    putText("audioOutput", "gpt");
    put("whisperTranscription", false);
    putText("audioVoice", "nova");
    put("doubleCommandEnabled", false);
    putText("summonBehavior", "voice");
    putText("summonFallbackShortcut", "none");
    put("bridgeEnabled", true);
    put("localLLMEnabled", true);
    putText("localLLMEndpoint", "http://localhost:9/v1");
    putText("localLLMModel", "m3");
    putText("localLLMDeviceNickname", "bureau");
    put("chatDiscussionId", qint64{1} << 40);
    const AppSession& read = session();
    EXPECT_EQ(read.mode(), Mode::microphone);
    EXPECT_EQ(read.provider(), Provider::local);
    EXPECT_EQ(read.selectedLocalModel(), QStringLiteral("m1"));
    EXPECT_EQ(read.selectedCloudModel(), QStringLiteral("m2"));
    EXPECT_EQ(read.voiceMode(), VoiceMode::realtime);
    EXPECT_EQ(read.audioOutput(), AudioOutput::gpt);
    EXPECT_FALSE(read.whisperTranscription());
    EXPECT_EQ(read.audioVoice(), QStringLiteral("nova"));
    EXPECT_FALSE(read.doubleCommandEnabled());
    EXPECT_EQ(read.summonBehavior(), SummonBehavior::voice);
    EXPECT_EQ(read.summonFallbackShortcut(), SummonFallbackShortcut::none);
    EXPECT_TRUE(read.bridgeEnabled());
    EXPECT_TRUE(read.localLLMEnabled());
    EXPECT_EQ(read.localLLMEndpoint(), QStringLiteral("http://localhost:9/v1"));
    EXPECT_EQ(read.localLLMModel(), QStringLiteral("m3"));
    EXPECT_EQ(read.localLLMDeviceNickname(), QStringLiteral("bureau"));
    EXPECT_EQ(read.discussionId(), qint64{1} << 40);
}

TEST_F(Start, unknownWordsGiveTheDefaults) {
    for (const char* key :
         {"selectedMode", "selectedProvider", "voiceMode", "audioOutput", "summonBehavior", "summonFallbackShortcut"})
        putText(key, "Inconnu");
    EXPECT_EQ(session().mode(), Mode::chat);
    EXPECT_EQ(session().provider(), Provider::openai);
    EXPECT_EQ(session().voiceMode(), VoiceMode::pushToTalk);
    EXPECT_EQ(session().audioOutput(), AudioOutput::automatic);
    EXPECT_EQ(session().summonBehavior(), SummonBehavior::lastUsed);
    EXPECT_EQ(session().summonFallbackShortcut(), SummonFallbackShortcut::commandJ);
}

TEST_F(Start, theBackendsWordForPushToTalkIsUnknownHere) {
    putText("voiceMode", "ptt");
    EXPECT_EQ(session().voiceMode(), VoiceMode::pushToTalk);
    EXPECT_EQ(stored("voiceMode"), StoredValue(QStringLiteral("ptt")));
}

TEST_F(Start, valuesOfAnotherTypeCountAsMissing) {
    for (const char* key : {"selectedMode", "selectedProvider", "selectedLocalModel", "audioVoice", "localLLMEndpoint",
                            "localLLMModel", "localLLMDeviceNickname", "voiceMode"})
        put(key, qint64{1});
    for (const char* key : {"whisperTranscription", "doubleCommandEnabled", "bridgeEnabled", "localLLMEnabled"})
        putText(key, "false");
    EXPECT_EQ(session().localLLMEndpoint(), QStringLiteral("http://localhost:8080/v1"));
    EXPECT_EQ(session().localLLMDeviceNickname(), QStringLiteral("atelier"));
    EXPECT_TRUE(session().whisperTranscription());
    EXPECT_TRUE(session().doubleCommandEnabled());
    EXPECT_FALSE(session().bridgeEnabled());
}

TEST_F(Start, aDiscussionThatIsNotAnIntegerIsNone) {
    for (const StoredValue& value :
         {StoredValue(QStringLiteral("5")), StoredValue(5.0), StoredValue(true), StoredValue(QByteArray("5"))}) {
        put("chatDiscussionId", value);
        built.reset();
        EXPECT_EQ(session().discussionId(), std::nullopt);
        EXPECT_EQ(stored("chatDiscussionId"), value);
    }
}

TEST_F(Start, theNicknameFallsBackToTheHostThenToMac) {
    putText("localLLMDeviceNickname", "");
    EXPECT_EQ(session().localLLMDeviceNickname(), QStringLiteral("atelier"));
    built.reset();
    hostName.clear();
    EXPECT_EQ(session().localLLMDeviceNickname(), QStringLiteral("Mac"));
}

TEST_F(Start, theConversationIsReadBack) {
    const auto now = QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33, 7), Qt::UTC);
    session().appendMessage(ChatMessage::make(ChatMessage::Role::user, QStringLiteral("Où est la facture ?"), now));
    session().appendMessage(ChatMessage::make(ChatMessage::Role::assistant, QStringLiteral("Là."), now.addSecs(2)));
    const auto written = session().messages();
    built.reset();
    EXPECT_EQ(session().messages(), written);
}

TEST_F(Start, anUnreadableConversationStartsEmptyAndStaysStoredUntilTheNextWrite) {
    const QByteArray unreadable =
        R"([{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","role":"robot","content":"","createdAt":0}])";
    put("chatMessages", unreadable);
    EXPECT_TRUE(session().messages().empty());
    EXPECT_EQ(stored("chatMessages"), StoredValue(unreadable));
    session().appendMessage(ChatMessage::make(ChatMessage::Role::user, {}, QDateTime::currentDateTimeUtc()));
    EXPECT_NE(stored("chatMessages"), StoredValue(unreadable));
}

TEST_F(Start, startingWritesNothingAndSchedulesNothing) {
    putText("selectedProvider", "gemini");
    putText("voiceMode", "rubbish");
    putToken("tok");
    store.writes.clear();
    session();
    settle();
    EXPECT_TRUE(store.writes.empty());
    EXPECT_EQ(preferences.pushes, 0);
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(Start, theTokenIsReadOnceWithItsPrompt) {
    put("highSecurityMode", true);
    putToken("tok");
    EXPECT_EQ(session().userToken(), SecretText{"tok"});
    EXPECT_EQ(credentials.prompts,
              std::vector<std::optional<QString>>{QStringLiteral("Authentifie-toi pour accéder à Vennic")});
}

TEST_F(Start, aRefusedReadLooksSignedOut) {
    putToken("tok");
    credentials.readFailure = CredentialStatus::userCancelled;
    EXPECT_FALSE(session().isAuthenticated());
    settle();
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
    EXPECT_EQ(preferences.pulls, 0);
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(Start, anEmptyStoredTokenIsNotAuthenticated) {
    credentials.entries.push_back({{QStringLiteral("com.vennic.mac.usertoken"), QStringLiteral("user_token")}, {}, {}});
    EXPECT_FALSE(session().isAuthenticated());
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
}

TEST_F(Start, withATokenTheBridgeStartsAndThePreferencesArePulledOnce) {
    putToken("tok");
    session();
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("start tok")});
    settle();
    EXPECT_EQ(preferences.pulls, 1);
}

TEST_F(Start, theTelemetryIsToldBothValues) {
    put("localLLMEnabled", true);
    session();
    settle();
    EXPECT_EQ(telemetry.told,
              (QStringList{QStringLiteral("endpoint http://localhost:8080/v1"), QStringLiteral("enabled")}));
}

TEST_F(Start, theInstalledSessionIsTheSharedOne) {
    AppSession::install(&session());
    EXPECT_EQ(&AppSession::shared(), &session());
}

} // namespace
} // namespace vennic
