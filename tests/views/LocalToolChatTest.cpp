#include "backend/LocalToolChat.h"

#include "Bridge/LocalToolWorld.h"
#include "backend/ChatView.h"
#include "core/SessionFixture.h"
#include "fakes/HttpStreamScript.h"
#include "support/ChatChunks.h"

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

const QString localModel = QStringLiteral("Qwen/Qwen3-8B");

/// A session and the tools, and a local server that streams what it was given.
struct LocalToolChatTest : SessionFixture {
    LocalToolWorld world;
    std::unique_ptr<LocalToolChat> chat;
    std::unique_ptr<ChatView> view_;
    std::deque<HttpStreamScript> rounds; // what the local server says, round by round
    std::vector<QJsonObject> asked;      // the bodies of the rounds
    std::vector<QJsonObject> imported;
    int imports = 0;
    QByteArray importAnswer = R"({"discussion_id":7})";
    int importStatus = 201;
    bool alive = true; // the local server

    /// The wire: the local server's streams, its list of models, and the backend's import.
    struct Wire final : HttpTransport {
        explicit Wire(LocalToolChatTest* test) : test_(test) {}
        Task<HttpResponse> send(HttpRequest request) override {
            if (request.url.path().endsWith(QStringLiteral("/models"))) {
                if (!test_->alive)
                    throw TransportError(TransportFault::refused);
                co_return HttpResponse{.status = 200, .headers = {}, .body = "{}"};
            }
            EXPECT_TRUE(request.url.path().endsWith(QStringLiteral("/queries/import.json")))
                << request.url.toString().toStdString();
            ++test_->imports;
            test_->imported.push_back(QJsonDocument::fromJson(request.body.value_or(QByteArray())).object());
            co_return HttpResponse{.status = test_->importStatus, .headers = {}, .body = test_->importAnswer};
        }
        Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override {
            test_->asked.push_back(QJsonDocument::fromJson(request.body.value_or(QByteArray())).object());
            EXPECT_TRUE(request.secretHeaders.empty()) << "the local server gets no token";
            if (test_->rounds.empty())
                throw TransportError(TransportFault::refused);
            HttpStreamScript script = test_->rounds.front();
            test_->rounds.pop_front();
            co_return script.stream();
        }

    private:
        LocalToolChatTest* test_;
    };
    Wire wire{this};
    VennicHTTP localHttp{wire, QStringLiteral("api.vennic.test"), nullptr};

    void SetUp() override {
        signedIn();
        session().setProvider(Provider::local);
        session().setLocalLLMModel(localModel);
        chat = std::make_unique<LocalToolChat>(
            LocalToolChat::Surroundings{session(), world.tools, localHttp, config, world.clock});
        view_ = std::make_unique<ChatView>(ChatView::Surroundings{session(), localHttp, config, world.clock, *chat});
    }

    /// One more round, which says `bytes` and ends.
    void round(const QByteArray& bytes) {
        HttpStreamScript script;
        script.say(bytes);
        script.end();
        rounds.push_back(script);
    }
    /// One whose course the test decides.
    HttpStreamScript openRound() {
        rounds.emplace_back();
        return rounds.back();
    }
    static QByteArray call(const QByteArray& name, const QByteArray& arguments = "{}", int index = 0) {
        const QByteArray text = QJsonDocument(QJsonArray{QString::fromUtf8(arguments)}).toJson(QJsonDocument::Compact);
        return chunks::calls(R"({"index":)" + QByteArray::number(index) + R"(,"id":"c)" + QByteArray::number(index) +
                             R"(","function":{"name":")" + name + R"(","arguments":)" + text.chopped(1).sliced(1) +
                             "}}");
    }
    void send(const QString& text = QStringLiteral("Bonjour")) {
        view_->setDraft(text);
        view_->send();
    }
    bool ended() {
        return waitUntil([this] { return !session().isStreaming(); });
    }
    void turn(const QString& text = QStringLiteral("Bonjour")) {
        send(text);
        ASSERT_TRUE(ended());
        settle();
    }
    QString last() { return session().messages().back().content; }
    bool shows(const QString& text) {
        return waitUntil([&] { return !session().messages().empty() && last() == text; });
    }
    QJsonArray sentMessages(std::size_t round) { return asked.at(round)[QLatin1String("messages")].toArray(); }
    QStringList storedTexts() {
        const auto bytes = storedAs<QByteArray>(store, PreferenceKey::chatMessages).value_or(QByteArray());
        QStringList texts;
        for (const ChatMessage& message : decodeConversation(bytes))
            texts.append(message.content);
        return texts;
    }
    static QJsonObject message(const char* role, const char* content) {
        return {{QStringLiteral("role"), QString::fromUtf8(role)},
                {QStringLiteral("content"), QString::fromUtf8(content)}};
    }
};

TEST_F(LocalToolChatTest, anAnswerStreamsIntoTheConversationAndIsFiledWithTheBackend) {
    session().setDiscussionId(5);
    HttpStreamScript server = openRound();
    send(QStringLiteral("  Salut "));
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:Salut"), QStringLiteral("a:")}));
    server.say(chunks::text("Bon"));
    ASSERT_TRUE(shows(QStringLiteral("Bon")));
    EXPECT_EQ(storedTexts(), (QStringList{QStringLiteral("Salut"), QStringLiteral("Bon")}));
    server.say(chunks::text("jour"));
    ASSERT_TRUE(shows(QStringLiteral("Bonjour")));
    EXPECT_EQ(storedTexts(), (QStringList{QStringLiteral("Salut"), QStringLiteral("Bonjour")}));
    EXPECT_TRUE(session().isStreaming());
    EXPECT_EQ(imports, 0);
    server.say(chunks::finish("stop") + chunks::done());
    ASSERT_TRUE(ended());
    ASSERT_TRUE(waitUntil([&] { return session().discussionId() == 7; }));
    EXPECT_EQ(imported.at(0), (QJsonObject{{QStringLiteral("text"), QStringLiteral("Salut")},
                                           {QStringLiteral("response_text"), QStringLiteral("Bonjour")},
                                           {QStringLiteral("model"), localModel},
                                           {QStringLiteral("channel"), QStringLiteral("desktop")},
                                           {QStringLiteral("language"), QStringLiteral("fr-FR")},
                                           {QStringLiteral("discussion_id"), 5}}));
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(LocalToolChatTest, theWholeConversationIsSentAsItStands) {
    session().setMessages(
        {ChatMessage::make(ChatMessage::Role::user, QStringLiteral("un"), world.clock.now()),
         ChatMessage::make(ChatMessage::Role::assistant, QStringLiteral("⚠️ panne"), world.clock.now()),
         ChatMessage::make(ChatMessage::Role::assistant, {}, world.clock.now())});
    round(chunks::text("ok") + chunks::done());
    turn(QStringLiteral("deux"));
    EXPECT_EQ(sentMessages(0),
              (QJsonArray{message("system", "Tu es Vennic, un assistant IA personnel qui tourne en local sur le Mac de "
                                            "l'utilisateur. Réponds de manière concise et naturelle."),
                          message("user", "un"), message("assistant", "⚠️ panne"), message("assistant", ""),
                          message("user", "deux")}));
    EXPECT_EQ(asked[0][QLatin1String("model")].toString(), localModel);
    EXPECT_EQ(asked[0][QLatin1String("tools")].toArray(), LocalToolRegistry::schemas());
}

TEST_F(LocalToolChatTest, theModelOfThePickerComesBeforeTheMachines) {
    session().setSelectedLocalModel(QStringLiteral("qwen2.5-choisi"));
    round(chunks::text("ok") + chunks::done());
    turn();
    EXPECT_EQ(asked[0][QLatin1String("model")].toString(), QStringLiteral("qwen2.5-choisi"));
    EXPECT_EQ(imported.at(0)[QLatin1String("model")].toString(), QStringLiteral("qwen2.5-choisi"));
}

TEST_F(LocalToolChatTest, aModelThatIsOfferedNoToolsHasOneRound) {
    session().setLocalLLMModel(QStringLiteral("llama-3"));
    world.workspace->add(QStringLiteral("Notes.desktop"));
    round(chunks::text("ok") + call("open_app", R"({"name":"Notes"})") + chunks::done());
    turn();
    EXPECT_FALSE(asked.at(0).contains(QLatin1String("tools")));
    EXPECT_FALSE(asked[0].contains(QLatin1String("tool_choice")));
    EXPECT_EQ(asked.size(), 1U);
    EXPECT_EQ(last(), QStringLiteral("ok"));
    EXPECT_TRUE(world.workspace->opened.isEmpty()) << "what it calls all the same isn't run";
}

TEST_F(LocalToolChatTest, aModelThatCallsAToolOnlyKeepsToOneMessage) {
    world.photos->status = PhotoAuthorization::notDetermined;
    world.photos->holdRequests = true;
    round(call("list_recent_photos") + chunks::done());
    HttpStreamScript second = openRound();
    send();
    ASSERT_TRUE(shows(QStringLiteral("🔧 Photos récentes…")));
    EXPECT_EQ(storedTexts().back(), QStringLiteral("🔧 Photos récentes…"));
    world.photos->answered.set();
    ASSERT_TRUE(waitUntil([&] { return second.isAwaited(); }));
    EXPECT_EQ(last(), QString());
    EXPECT_EQ(storedTexts().back(), QString());
    second.say(chunks::text("Aucune photo.") + chunks::done());
    ASSERT_TRUE(ended());
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:Bonjour"), QStringLiteral("a:Aucune photo.")}));
    EXPECT_EQ(sentMessages(1).at(2),
              QJsonValue(QJsonObject{
                  {QStringLiteral("role"), QStringLiteral("assistant")},
                  {QStringLiteral("content"), QString()},
                  {QStringLiteral("tool_calls"),
                   QJsonArray{QJsonObject{{QStringLiteral("id"), QStringLiteral("c0")},
                                          {QStringLiteral("type"), QStringLiteral("function")},
                                          {QStringLiteral("function"),
                                           QJsonObject{{QStringLiteral("name"), QStringLiteral("list_recent_photos")},
                                                       {QStringLiteral("arguments"), QStringLiteral("{}")}}}}}}}));
    EXPECT_EQ(sentMessages(1).at(3),
              QJsonValue(QJsonObject{{QStringLiteral("role"), QStringLiteral("tool")},
                                     {QStringLiteral("tool_call_id"), QStringLiteral("c0")},
                                     {QStringLiteral("content"), QStringLiteral("No photos matched.")}}));
}

TEST_F(LocalToolChatTest, textBesideACallStaysAsAMessageOfItsOwn) {
    round(chunks::text("Je cherche.") + call("list_local_folders") + chunks::done());
    round(chunks::text("Rien n'est partagé.") + chunks::done());
    turn();
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:Bonjour"), QStringLiteral("a:Je cherche."),
                                   QStringLiteral("a:Rien n'est partagé.")}));
    EXPECT_EQ(sentMessages(1).at(2)[QLatin1String("content")].toString(), QStringLiteral("Je cherche."));
    EXPECT_EQ(imported.at(0)[QLatin1String("response_text")].toString(), QStringLiteral("Rien n'est partagé."))
        << "earlier rounds' texts aren't sent";
}

TEST_F(LocalToolChatTest, callsOfARoundRunInOrderAndEachReplacesTheStatusLine) {
    QStringList lines;
    QObject::connect(&session(), &AppSession::messagesChanged, &session(), [&] {
        if (lines.isEmpty() || lines.back() != last())
            lines.append(last());
    });
    round(call("list_shortcuts", "{}", 1) + call("list_local_folders", "{}", 0) + call("danse", "", 2) +
          chunks::done());
    round(chunks::text("Fini") + chunks::done());
    turn();
    EXPECT_EQ(lines, (QStringList{QStringLiteral("Bonjour"), QString(), QStringLiteral("🔧 Liste des dossiers…"),
                                  QStringLiteral("🔧 Liste des raccourcis…"), QStringLiteral("🔧 danse…"), QString(),
                                  QStringLiteral("Fini")}));
    QStringList results;
    for (qsizetype i = 3; i < sentMessages(1).size(); ++i)
        results.append(sentMessages(1).at(i)[QLatin1String("tool_call_id")].toString() + u' ' +
                       sentMessages(1).at(i)[QLatin1String("content")].toString().left(20));
    EXPECT_EQ(results, (QStringList{QStringLiteral("c0 The Mac bridge has n"), QStringLiteral("c1 No shortcuts found."),
                                    QStringLiteral("c2 Unknown tool: danse")}));
}

TEST_F(LocalToolChatTest, theFifthRoundsCallsAreRunAndTheTurnEndsWithoutText) {
    const QString entry = world.workspace->add(QStringLiteral("Notes.desktop")).entry;
    for (int i = 0; i < 6; ++i)
        round(call("open_app", R"({"name":"Notes"})") + chunks::done());
    turn();
    EXPECT_EQ(asked.size(), 5U);
    EXPECT_EQ(world.workspace->opened.size(), 5);
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:Bonjour"), QStringLiteral("a:")}));
    EXPECT_EQ(imports, 0);
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(LocalToolChatTest, withoutATokenATurnIsShownAndFiledNowhere) {
    session().setToken(SecretText{});
    round(chunks::text("ok") + chunks::done());
    turn();
    EXPECT_EQ(last(), QStringLiteral("ok"));
    EXPECT_EQ(imports, 0);
}

TEST_F(LocalToolChatTest, aFilingThatFailsIsToldToNobody) {
    session().setDiscussionId(5);
    importStatus = 500;
    round(chunks::text("un") + chunks::done());
    turn();
    EXPECT_EQ(imports, 1);
    importStatus = 200;
    importAnswer = "pas du JSON";
    round(chunks::text("deux") + chunks::done());
    turn();
    EXPECT_EQ(imports, 2);
    EXPECT_EQ(session().discussionId(), 5);
    EXPECT_EQ(session().lastError(), std::nullopt);
    EXPECT_EQ(last(), QStringLiteral("deux"));
}

TEST_F(LocalToolChatTest, anEmptyAnswerIsFiledNowhere) {
    round(chunks::done());
    turn();
    EXPECT_EQ(last(), QString());
    EXPECT_EQ(imports, 0);
}

TEST_F(LocalToolChatTest, aServerThatStopsInTheThirdRoundIsToldInTheMessageAndInTheError) {
    round(chunks::text("Un instant.") + call("list_shortcuts") + chunks::done());
    round(call("list_shortcuts") + chunks::done());
    HttpStreamScript third = openRound();
    send();
    ASSERT_TRUE(waitUntil([&] { return third.isAwaited(); }));
    third.say(chunks::text("Voilà que"));
    ASSERT_TRUE(shows(QStringLiteral("Voilà que")));
    third.fail(TransportFault::cutOff);
    ASSERT_TRUE(ended());
    settle();
    const QString sentence = QStringLiteral("La connexion au serveur a été coupée.");
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:Bonjour"), QStringLiteral("a:Un instant."),
                                   QStringLiteral("a:⚠️ ") + sentence}));
    EXPECT_EQ(session().lastError(), sentence);
    EXPECT_EQ(storedTexts().back(), QStringLiteral("⚠️ ") + sentence);
    EXPECT_EQ(imports, 0);
}

TEST_F(LocalToolChatTest, everyFailureOfTheServerHasItsWords) {
    const auto failure = [&] {
        turn();
        EXPECT_EQ(last(), QStringLiteral("⚠️ ") + session().lastError().value_or(QString()));
        return session().lastError().value_or(QString());
    };
    EXPECT_EQ(failure(), QStringLiteral("Le serveur a refusé la connexion."));
    HttpStreamScript silent;
    silent.fail(TransportFault::timedOut);
    rounds.push_back(silent);
    EXPECT_EQ(failure(), QStringLiteral("Le serveur n'a pas répondu à temps."));
    HttpStreamScript broken(500);
    broken.say("plus de mémoire\nvraiment");
    broken.end();
    rounds.push_back(broken);
    EXPECT_EQ(failure(), QStringLiteral("Local server HTTP 500: plus de mémoirevraiment"));
    HttpStreamScript noHttp{std::nullopt};
    rounds.push_back(noHttp);
    EXPECT_EQ(failure(), QStringLiteral("Local server returned an unparseable stream."));
    EXPECT_EQ(imports, 0);
}

TEST_F(LocalToolChatTest, aTurnAfterAFailureGoesOn) {
    turn();
    round(chunks::text("ok") + chunks::done());
    turn();
    EXPECT_EQ(last(), QStringLiteral("ok"));
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(LocalToolChatTest, aConversationThatIsClearedMeanwhileStaysCleared) {
    HttpStreamScript server = openRound();
    send();
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    server.say(chunks::text("Bon"));
    ASSERT_TRUE(shows(QStringLiteral("Bon")));
    session().clearConversation();
    server.say(chunks::text("jour") + chunks::done());
    ASSERT_TRUE(ended());
    settle();
    EXPECT_TRUE(said().isEmpty());
    EXPECT_EQ(imported.at(0)[QLatin1String("response_text")].toString(), QStringLiteral("Bonjour"));
}

TEST_F(LocalToolChatTest, aMessageThatTookThePlaceOfTheTurnsIsLeftAlone) {
    HttpStreamScript server = openRound();
    send();
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    session().setMessages(
        {ChatMessage::make(ChatMessage::Role::user, QStringLiteral("autre"), world.clock.now()),
         ChatMessage::make(ChatMessage::Role::assistant, QStringLiteral("chose"), world.clock.now())});
    server.say(chunks::text("Bon"));
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    server.fail(TransportFault::cutOff);
    ASSERT_TRUE(ended());
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:autre"), QStringLiteral("a:chose")}));
    EXPECT_TRUE(session().lastError());
}

TEST_F(LocalToolChatTest, aCancelledTurnEndsAsAFailureDoes) {
    HttpStreamScript server = openRound();
    Scope jobs;
    session().setIsStreaming(true);
    Job job = jobs.start(chat->runDirectLocal(QStringLiteral("x")));
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    job.cancel();
    ASSERT_TRUE(ended());
    EXPECT_EQ(last(), QStringLiteral("⚠️ La requête a été annulée."));
    EXPECT_EQ(session().lastError(), QStringLiteral("La requête a été annulée."));
    EXPECT_TRUE(server.isClosed());
}

TEST_F(LocalToolChatTest, aToolThatRunsEndsWithItsCancelledTurn) {
    world.automations->automations[QStringLiteral("long")] = AutomationToolFake::endless;
    round(call("run_shortcut", R"({"name":"long"})") + chunks::done());
    Scope jobs;
    session().setIsStreaming(true);
    Job job = jobs.start(chat->runDirectLocal(QStringLiteral("x")));
    ASSERT_TRUE(waitUntil([&] { return world.automations->calls().size() == 1; }));
    EXPECT_EQ(last(), QStringLiteral("🔧 Exécution du raccourci…"));
    job.cancel();
    ASSERT_TRUE(ended());
    EXPECT_EQ(last(), QStringLiteral("⚠️ La requête a été annulée."));
}

TEST_F(LocalToolChatTest, theEndOfTheViewEndsTheTurnAndTheServersWork) {
    HttpStreamScript server = openRound();
    send();
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    view_.reset();
    EXPECT_TRUE(server.isClosed());
}

TEST_F(LocalToolChatTest, whetherTheServerIsThereIsAskedOfItsModels) {
    EXPECT_TRUE(await(chat->isReachable(session().localLLMEndpoint(), 2s)));
    alive = false;
    EXPECT_FALSE(await(chat->isReachable(session().localLLMEndpoint(), 2s)));
    EXPECT_FALSE(await(chat->isReachable(QStringLiteral("n'importe quoi"), 2s)));
}

TEST_F(LocalToolChatTest, eachToolHasALabelAndAnUnknownOneItsName) {
    const std::vector<std::pair<const char*, const char*>> labels{{"search_local_documents", "Recherche locale"},
                                                                  {"read_local_document", "Lecture du document"},
                                                                  {"list_local_folders", "Liste des dossiers"},
                                                                  {"browse_local_folder", "Parcours du dossier"},
                                                                  {"list_recent_photos", "Photos récentes"},
                                                                  {"list_photos_from_date", "Photos par date"},
                                                                  {"open_app", "Ouverture de l'app"},
                                                                  {"list_shortcuts", "Liste des raccourcis"},
                                                                  {"run_shortcut", "Exécution du raccourci"},
                                                                  {"ocr_local_image", "OCR du document"},
                                                                  {"danse", "danse"}};
    for (const auto& [tool, label] : labels)
        EXPECT_EQ(LocalToolChat::toolLabel(QString::fromUtf8(tool)), QString::fromUtf8(label));
}

} // namespace
} // namespace vennic::test
