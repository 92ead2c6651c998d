#include "core/ServerPreferenceSync.h"

#include "base/Json.h"
#include "core/SessionFixture.h"
#include "support/TestClock.h"

#include <QJsonDocument>

namespace vennic {
namespace {

using namespace std::chrono_literals;

/// A session whose account answers with `account`, and a clock that is turned by hand.
struct ServerPreferenceSyncTest : test::SessionFixture {
    test::TestClock clock;
    ServerPreferenceSync sync{http, config, clock};
    std::unique_ptr<AppSession> own;
    QByteArray account = R"({"id":7})";

    AppSession& open(const char* token = "tok") {
        transport.responder = [this](const HttpRequest& request) -> test::HttpTransportFake::Outcome {
            if (request.method == "GET")
                return HttpResponse{200, {}, account};
            return HttpResponse{200, {}, {}};
        };
        if (token)
            putToken(token);
        own = std::make_unique<AppSession>(
            AppSession::Surroundings{store, keychain, http, config, bridge, sync, telemetry, hostName});
        settle();
        return *own;
    }
    std::vector<QJsonObject> pushes() const {
        std::vector<QJsonObject> bodies;
        for (const HttpRequest& request : transport.requests)
            if (request.method == "PATCH")
                bodies.push_back(QJsonDocument::fromJson(request.body.value()).object());
        return bodies;
    }
    void pass(std::chrono::milliseconds time) {
        settle();
        clock.advance(time);
        settle();
    }
};

TEST_F(ServerPreferenceSyncTest, aLaunchWithATokenPullsOnce) {
    account = R"({"id":7,"email":"a@b.fr","default_voice_mode":"realtime","default_provider":"gemini",
                  "transcribe_audio":false,"audio_output":false,"default_audio_voice":"ash","default_model":"m"})";
    AppSession& session = open();
    EXPECT_EQ(transport.requests.size(), 1u);
    EXPECT_EQ(session.userId(), 7);
    EXPECT_EQ(session.userEmail(), QStringLiteral("a@b.fr"));
    EXPECT_EQ(session.voiceMode(), VoiceMode::realtime);
    EXPECT_EQ(session.provider(), Provider::gemini);
    EXPECT_FALSE(session.whisperTranscription());
    EXPECT_EQ(session.audioOutput(), AudioOutput::local);
    EXPECT_EQ(session.audioVoice(), QStringLiteral("ash"));
    EXPECT_EQ(stored("selectedProvider"), StoredValue(QStringLiteral("gemini")));
}

TEST_F(ServerPreferenceSyncTest, anAccountWithoutAnAddressLeavesTheOneThatIsKnown) {
    account = R"({"id":7,"email":"a@b.fr"})";
    AppSession& session = open();
    account = R"({"id":8})";
    test::await(sync.hydrate(&session));
    EXPECT_EQ(session.userId(), 8);
    EXPECT_EQ(session.userEmail(), QStringLiteral("a@b.fr"));
}

TEST_F(ServerPreferenceSyncTest, whatIsPulledIsNotPushedBack) {
    account = R"({"id":7,"default_provider":"gemini","default_audio_voice":"ash"})";
    open();
    pass(10s);
    EXPECT_TRUE(pushes().empty());
    EXPECT_EQ(clock.sleeping(), 0u);
}

TEST_F(ServerPreferenceSyncTest, wordsThatNobodyKnowsChangeNothing) {
    account = R"({"id":7,"default_voice_mode":"pushToTalk","default_provider":"other"})";
    AppSession& session = open();
    EXPECT_EQ(session.voiceMode(), VoiceMode::pushToTalk);
    EXPECT_EQ(session.provider(), Provider::openai);
}

TEST_F(ServerPreferenceSyncTest, anEmptyVoiceIsPulledToo) {
    putText("audioVoice", "cedar");
    account = R"({"id":7,"default_audio_voice":""})";
    EXPECT_EQ(open().audioVoice(), QString());
}

TEST_F(ServerPreferenceSyncTest, theKindOfAudioOutputSurvives) {
    const auto pulled = [this](AudioOutput before, const char* word) {
        transport.requests.clear();
        putText("audioOutput", rawValue(before).data());
        account = QByteArray(R"({"id":7,"audio_output":)") + word + "}";
        return open().audioOutput();
    };
    EXPECT_EQ(pulled(AudioOutput::gpt, "true"), AudioOutput::gpt);
    EXPECT_EQ(pulled(AudioOutput::automatic, "true"), AudioOutput::automatic);
    EXPECT_EQ(pulled(AudioOutput::local, "true"), AudioOutput::gpt);
    EXPECT_EQ(pulled(AudioOutput::automatic, "false"), AudioOutput::local);
    EXPECT_EQ(pulled(AudioOutput::gpt, "false"), AudioOutput::local);
}

TEST_F(ServerPreferenceSyncTest, aFailedPullClearsTheErrorLine) {
    AppSession& session = open();
    session.setLastError(QStringLiteral("vieux"));
    transport.responder = [](const HttpRequest&) { return TransportFault::noNetwork; };
    test::await(sync.hydrate(&session));
    EXPECT_EQ(session.lastError(), std::nullopt);
    session.setLastError(QStringLiteral("vieux"));
    transport.responder = [](const HttpRequest&) { return HttpResponse{200, {}, "nonsense"}; };
    test::await(sync.hydrate(&session));
    EXPECT_EQ(session.lastError(), std::nullopt);
}

TEST_F(ServerPreferenceSyncTest, withoutATokenNothingIsPulled) {
    AppSession& session = open(nullptr);
    test::await(sync.hydrate(&session));
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ServerPreferenceSyncTest, anExpiredTokenAtTheStartSignsOut) {
    transport.requests.clear();
    putToken("tok");
    transport.responder = [](const HttpRequest&) { return HttpResponse{401, {}, {}}; };
    AppSession session(AppSession::Surroundings{store, keychain, http, config, bridge, sync, telemetry, hostName});
    settle();
    EXPECT_FALSE(session.isAuthenticated());
    const auto expired = QStringLiteral("Session expirée. Recolle ton jeton dans Réglages (⌘,).");
    EXPECT_TRUE(!session.lastError() || session.lastError() == expired);
}

TEST_F(ServerPreferenceSyncTest, aBurstOfChangesIsOnePushOfTheLastValues) {
    AppSession& session = open();
    session.setVoiceMode(VoiceMode::realtime);
    pass(300ms);
    session.setProvider(Provider::anthropic);
    session.setAudioOutput(AudioOutput::automatic);
    session.setAudioVoice(QStringLiteral("cedar"));
    pass(499ms);
    EXPECT_TRUE(pushes().empty());
    pass(1ms);
    ASSERT_EQ(pushes().size(), 1u);
    EXPECT_EQ(pushes()[0], parseJsonObject(R"({"user":{"default_voice_mode":"realtime","default_provider":"anthropic",
                                 "transcribe_audio":true,"audio_output":true,"default_audio_voice":"cedar"}})"));
    EXPECT_EQ(transport.requests.back().url.toString(), QStringLiteral("https://api.vennic.test/users/7.json"));
    pass(10s);
    EXPECT_EQ(pushes().size(), 1u);
}

TEST_F(ServerPreferenceSyncTest, theAccountIsToldInItsOwnWords) {
    putText("voiceMode", "realtime");
    AppSession& session = open();
    session.setVoiceMode(VoiceMode::pushToTalk);
    session.setAudioOutput(AudioOutput::local);
    session.setWhisperTranscription(false);
    pass(500ms);
    session.setAudioOutput(AudioOutput::gpt);
    pass(500ms);
    ASSERT_EQ(pushes().size(), 2u);
    EXPECT_EQ(pushes()[0], parseJsonObject(R"({"user":{"default_voice_mode":"ptt","default_provider":"openai",
                                 "transcribe_audio":false,"audio_output":false}})"));
    EXPECT_EQ(pushes()[1], parseJsonObject(R"({"user":{"default_voice_mode":"ptt","default_provider":"openai",
                                 "transcribe_audio":false,"audio_output":true}})"));
}

TEST_F(ServerPreferenceSyncTest, aVoiceThatWasClearedIsLeftOut) {
    putText("audioVoice", "cedar");
    AppSession& session = open();
    session.setAudioVoice({});
    pass(500ms);
    ASSERT_EQ(pushes().size(), 1u);
    EXPECT_FALSE(pushes()[0].value(QLatin1String("user")).toObject().contains(QLatin1String("default_audio_voice")));
}

TEST_F(ServerPreferenceSyncTest, aChangeBeforeTheAccountIsKnownStaysHere) {
    account = "nonsense";
    AppSession& session = open();
    session.setAudioVoice(QStringLiteral("cedar"));
    pass(10s);
    EXPECT_TRUE(pushes().empty());
    account = R"({"id":7})";
    test::await(sync.hydrate(&session));
    pass(10s);
    EXPECT_TRUE(pushes().empty());
    EXPECT_EQ(session.audioVoice(), QStringLiteral("cedar"));
}

TEST_F(ServerPreferenceSyncTest, afterSigningOutNothingIsPushed) {
    AppSession& session = open();
    session.setToken(SecretText{""});
    session.setProvider(Provider::gemini);
    pass(10s);
    EXPECT_TRUE(pushes().empty());
}

TEST_F(ServerPreferenceSyncTest, aPushThatHasBegunIsNotCancelledByTheNext) {
    AppSession& session = open();
    session.setProvider(Provider::gemini);
    settle();
    transport.hold();
    pass(500ms);
    ASSERT_EQ(transport.waiting(), 1u);
    session.setProvider(Provider::anthropic);
    settle();
    EXPECT_EQ(transport.cancelled, 0);
    transport.release();
    pass(500ms);
    EXPECT_EQ(pushes().size(), 2u);
}

TEST_F(ServerPreferenceSyncTest, aPushThatFailsIsLostWithoutAWord) {
    AppSession& session = open();
    transport.responder = [](const HttpRequest&) { return HttpResponse{500, {}, "panne"}; };
    session.setProvider(Provider::gemini);
    pass(500ms);
    EXPECT_EQ(pushes().size(), 1u);
    EXPECT_EQ(session.lastError(), std::nullopt);
    pass(60s);
    EXPECT_EQ(pushes().size(), 1u);
}

} // namespace
} // namespace vennic
