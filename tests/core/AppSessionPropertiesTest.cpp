#include "core/SessionFixture.h"

#include <QMetaMethod>
#include <QMetaProperty>

namespace vennic {
namespace {

struct Properties : test::SessionFixture {
    /// What a write to the store looks like after `write`: the keys, in order.
    QStringList writesOf(const std::function<void(AppSession&)>& write) {
        session();
        store.writes.clear();
        write(session());
        QStringList keys;
        for (const auto& [key, value] : store.writes)
            keys.append(key);
        return keys;
    }
};

TEST_F(Properties, everyPublishedPropertyHasItsOwnSignal) {
    const QMetaObject& meta = AppSession::staticMetaObject;
    QStringList names;
    QSet<QByteArray> notifications;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        names.append(QString::fromLatin1(meta.property(i).name()));
        ASSERT_TRUE(meta.property(i).hasNotifySignal()) << meta.property(i).name();
        EXPECT_EQ(meta.property(i).notifySignal().name(), QByteArray(meta.property(i).name()) + "Changed");
        notifications.insert(meta.property(i).notifySignal().name());
    }
    EXPECT_EQ(names.join(QChar(u' ')),
              QStringLiteral("mode messages discussionId isStreaming lastError userToken provider selectedLocalModel "
                             "selectedCloudModel voiceMode audioOutput whisperTranscription audioVoice "
                             "doubleCommandEnabled summonBehavior summonFallbackShortcut "
                             "globalShortcutPermissionGranted globalShortcutStatusMessage bridgeEnabled "
                             "localLLMEnabled localLLMEndpoint localLLMModel localLLMDeviceNickname "
                             "userEmail"));
    EXPECT_EQ(notifications.size(), names.size());
}

TEST_F(Properties, aChangeIsAnnouncedOnceAndToItsOwnSubscribersOnly) {
    test::Announcements provider(&session(), &AppSession::providerChanged);
    test::Announcements voice(&session(), &AppSession::voiceModeChanged);
    session().setProvider(Provider::gemini);
    session().setProvider(Provider::gemini);
    EXPECT_EQ(provider.count(), 1);
    EXPECT_EQ(voice.count(), 0);
}

TEST_F(Properties, eachPersistedPropertyWritesItsKeyAtOnce) {
    struct Row {
        const char* key;
        std::function<void(AppSession&)> write;
        StoredValue value;
        bool pushed;
    };
    const auto text = [](const char* word) { return StoredValue(QString::fromUtf8(word)); };
    const auto word = [](const char* letters) { return QString::fromUtf8(letters); };
    const Row rows[] = {
        {"selectedMode", [](auto& s) { s.setMode(Mode::microphone); }, text("microphone"), false},
        {"chatDiscussionId", [](auto& s) { s.setDiscussionId(7); }, qint64{7}, false},
        {"selectedProvider", [](auto& s) { s.setProvider(Provider::anthropic); }, text("anthropic"), true},
        {"selectedLocalModel", [&](auto& s) { s.setSelectedLocalModel(word("a")); }, text("a"), false},
        {"selectedCloudModel", [&](auto& s) { s.setSelectedCloudModel(word("b")); }, text("b"), false},
        {"voiceMode", [](auto& s) { s.setVoiceMode(VoiceMode::realtime); }, text("realtime"), true},
        {"audioOutput", [](auto& s) { s.setAudioOutput(AudioOutput::local); }, text("local"), true},
        {"whisperTranscription", [](auto& s) { s.setWhisperTranscription(false); }, false, true},
        {"audioVoice", [&](auto& s) { s.setAudioVoice(word("nova")); }, text("nova"), true},
        {"doubleCommandEnabled", [](auto& s) { s.setDoubleCommandEnabled(false); }, false, false},
        {"summonBehavior", [](auto& s) { s.setSummonBehavior(SummonBehavior::voice); }, text("voice"), false},
        {"summonFallbackShortcut", [](auto& s) { s.setSummonFallbackShortcut(SummonFallbackShortcut::none); },
         text("none"), false},
        {"bridgeEnabled", [](auto& s) { s.setBridgeEnabled(true); }, true, false},
        {"localLLMEnabled", [](auto& s) { s.setLocalLLMEnabled(true); }, true, false},
        {"localLLMEndpoint", [&](auto& s) { s.setLocalLLMEndpoint(word("http://x")); }, text("http://x"), false},
        {"localLLMModel", [&](auto& s) { s.setLocalLLMModel(word("m")); }, text("m"), false},
        {"localLLMDeviceNickname", [&](auto& s) { s.setLocalLLMDeviceNickname(word("pc")); }, text("pc"), false},
    };
    for (const Row& row : rows) {
        preferences.pushes = 0;
        EXPECT_EQ(writesOf(row.write), QStringList{QLatin1String(row.key)}) << row.key;
        EXPECT_EQ(stored(row.key), row.value) << row.key;
        EXPECT_EQ(preferences.pushes, row.pushed ? 1 : 0) << row.key;
    }
    built.reset();
    EXPECT_EQ(session().mode(), Mode::microphone);
    EXPECT_EQ(session().localLLMDeviceNickname(), QStringLiteral("pc"));
}

TEST_F(Properties, theOthersAreNotStored) {
    EXPECT_TRUE(writesOf([](AppSession& s) {
                    s.setIsStreaming(true);
                    s.setLastError(QStringLiteral("x"));
                    s.setGlobalShortcutPermissionGranted(true);
                    s.setGlobalShortcutStatusMessage(QStringLiteral("y"));
                    s.setUserId(5);
                    s.setUserEmail(QStringLiteral("a@b.c"));
                }).isEmpty());
    EXPECT_TRUE(session().isStreaming());
    EXPECT_EQ(session().lastError(), QStringLiteral("x"));
    EXPECT_EQ(preferences.pushes, 0);
}

TEST_F(Properties, writingTheSameValueStoresAndPushesItAgain) {
    session().setProvider(Provider::openai);
    EXPECT_EQ(stored("selectedProvider"), StoredValue(QStringLiteral("openai")));
    EXPECT_EQ(preferences.pushes, 1);
}

TEST_F(Properties, noDiscussionRemovesItsKey) {
    session().setDiscussionId(7);
    session().setDiscussionId(std::nullopt);
    EXPECT_EQ(stored("chatDiscussionId"), std::nullopt);
}

TEST_F(Properties, aSubscriberSeesTheNewValueBeforeItIsStoredAndItsOwnWriteWins) {
    QObject::connect(&session(), &AppSession::summonBehaviorChanged, [this] {
        if (session().summonBehavior() == SummonBehavior::chat)
            session().setSummonBehavior(SummonBehavior::voice);
    });
    session().setSummonBehavior(SummonBehavior::chat);
    EXPECT_EQ(session().summonBehavior(), SummonBehavior::voice);
    EXPECT_EQ(stored("summonBehavior"), StoredValue(QStringLiteral("voice")));
}

TEST_F(Properties, theTelemetryFollowsItsTwoProperties) {
    session();
    settle();
    telemetry.told.clear();
    session().setLocalLLMEndpoint(QStringLiteral("http://localhost:9/v1"));
    session().setLocalLLMEnabled(true);
    session().setLocalLLMEnabled(false);
    settle();
    EXPECT_EQ(telemetry.told, (QStringList{QStringLiteral("endpoint http://localhost:9/v1"), QStringLiteral("enabled"),
                                           QStringLiteral("disabled")}));
}

TEST_F(Properties, turningTheBridgeOffWhileSignedInDoesNotStopIt) {
    signedIn();
    session().setBridgeEnabled(true);
    session().setBridgeEnabled(false);
    session().setLocalLLMEnabled(true);
    EXPECT_EQ(bridge.calls, (QStringList(3, QStringLiteral("start tok"))));
}

TEST_F(Properties, turningTheBridgeOnWhileSignedOutKeepsItStopped) {
    session();
    bridge.calls.clear();
    session().setBridgeEnabled(true);
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
}

TEST_F(Properties, aSummonSetsTheModeThatItsBehaviorAsksFor) {
    session().setMode(Mode::microphone);
    store.writes.clear();
    session().prepareForSummon();
    EXPECT_EQ(session().mode(), Mode::microphone);
    EXPECT_TRUE(store.writes.empty());
    session().setSummonBehavior(SummonBehavior::chat);
    session().prepareForSummon();
    EXPECT_EQ(session().mode(), Mode::chat);
    EXPECT_EQ(stored("selectedMode"), StoredValue(QStringLiteral("chat")));
    session().setSummonBehavior(SummonBehavior::voice);
    session().prepareForSummon();
    EXPECT_EQ(session().mode(), Mode::microphone);
    EXPECT_EQ(stored("selectedMode"), StoredValue(QStringLiteral("microphone")));
}

struct Conversation : test::SessionFixture {
    static ChatMessage message(const char* text) {
        return ChatMessage::make(ChatMessage::Role::user, QString::fromUtf8(text),
                                 QDateTime(QDate(2025, 3, 1), QTime(9, 0), Qt::UTC));
    }
    std::vector<ChatMessage> storedMessages() {
        return decodeConversation(std::get<QByteArray>(stored("chatMessages").value()));
    }
};

TEST_F(Conversation, eachChangeIsStoredWhole) {
    test::Announcements changed(&session(), &AppSession::messagesChanged);
    session().appendMessage(message("un"));
    EXPECT_EQ(storedMessages(), session().messages());
    session().appendMessage(message("deux"));
    session().setMessageContent(1, QStringLiteral("deux et demi"));
    EXPECT_EQ(session().messages().at(1).content, QStringLiteral("deux et demi"));
    EXPECT_EQ(storedMessages(), session().messages());
    session().appendToMessage(1, QStringLiteral(" encore"));
    EXPECT_EQ(session().messages().at(1).content, QStringLiteral("deux et demi encore"));
    EXPECT_EQ(storedMessages(), session().messages());
    session().setMessages({message("trois")});
    EXPECT_EQ(storedMessages(), session().messages());
    EXPECT_EQ(changed.count(), 5);
}

TEST_F(Conversation, aMessageThatIsNotThereCannotBeEdited) {
    session().appendMessage(message("un"));
    store.writes.clear();
    test::Announcements changed(&session(), &AppSession::messagesChanged);
    session().setMessageContent(1, QStringLiteral("x"));
    session().appendToMessage(1, QStringLiteral("x"));
    EXPECT_TRUE(store.writes.empty());
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(Conversation, aConversationThatCannotBeEncodedLeavesThePreviousOneStored) {
    session().appendMessage(message("un"));
    const auto before = stored("chatMessages");
    auto timeless = message("deux");
    timeless.createdAt = {};
    session().appendMessage(timeless);
    EXPECT_EQ(stored("chatMessages"), before);
    EXPECT_EQ(session().messages().size(), 2U);
}

TEST_F(Conversation, clearingForgetsMessagesAndDiscussionAndNothingElse) {
    session().appendMessage(message("un"));
    session().setDiscussionId(7);
    session().setIsStreaming(true);
    session().setLastError(QStringLiteral("x"));
    session().clearConversation();
    EXPECT_TRUE(session().messages().empty());
    EXPECT_EQ(session().discussionId(), std::nullopt);
    EXPECT_EQ(stored("chatMessages"), std::nullopt);
    EXPECT_EQ(stored("chatDiscussionId"), std::nullopt);
    EXPECT_TRUE(session().isStreaming());
    EXPECT_EQ(session().lastError(), QStringLiteral("x"));
    // What still streams lands in the list as it is now.
    session().appendMessage(message("réponse"));
    EXPECT_EQ(storedMessages().size(), 1U);
}

} // namespace
} // namespace vennic
