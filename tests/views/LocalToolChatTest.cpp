#include "support/LoopTurns.h"
#include "views/LocalToolChatFixture.h"

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

using LocalToolChatTest = LocalToolChatFixture;

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

TEST_F(LocalToolChatTest, aBurstOfPiecesLeavesTheScreenItsTurn) {
    constexpr int pieces = 2000;
    int changes = 0;
    int seen = 0;
    int mostAtOnce = 0;
    QObject::connect(&session(), &AppSession::messagesChanged, &session(), [&] { ++changes; });
    HttpStreamScript server = openRound();
    send();
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    LoopTurns turns;
    seen = changes;
    turns.each([&] { mostAtOnce = std::max(mostAtOnce, changes - std::exchange(seen, changes)); });
    server.say(chunks::text("x").repeated(pieces) + chunks::done());
    ASSERT_TRUE(ended());
    EXPECT_EQ(last(), QString(pieces, u'x'));
    EXPECT_EQ(storedTexts().back(), last());
    EXPECT_GT(mostAtOnce, 0);
    EXPECT_LE(mostAtOnce, 2);
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

TEST_F(LocalToolChatTest, quickTurnsOfOneConversationShareTheDiscussionThatTheFirstOpens) {
    importHeld = std::make_unique<Event<>>();
    round(chunks::text("Un") + chunks::done());
    turn(QStringLiteral("un"));
    round(chunks::text("Deux") + chunks::done());
    turn(QStringLiteral("deux"));
    EXPECT_TRUE(chat->isFiling());
    ASSERT_EQ(imported.size(), 1u) << "the first has yet to be answered";
    importHeld->set();
    ASSERT_TRUE(waitUntil([this] { return !chat->isFiling(); }));
    ASSERT_EQ(imported.size(), 2u);
    EXPECT_FALSE(imported[0].contains(QLatin1String("discussion_id")));
    EXPECT_EQ(imported[1].value(QLatin1String("discussion_id")), 7);
    EXPECT_EQ(imported[1].value(QLatin1String("text")), QStringLiteral("deux"));
}

TEST_F(LocalToolChatTest, aNewConversationOpensADiscussionOfItsOwnHoweverQuick) {
    importHeld = std::make_unique<Event<>>();
    round(chunks::text("Un") + chunks::done());
    turn(QStringLiteral("un"));
    view_->newConversation();
    round(chunks::text("Deux") + chunks::done());
    turn(QStringLiteral("deux"));
    importHeld->set();
    ASSERT_TRUE(waitUntil([this] { return !chat->isFiling(); }));
    ASSERT_EQ(imported.size(), 2u);
    EXPECT_FALSE(imported[1].contains(QLatin1String("discussion_id")));
}

TEST_F(LocalToolChatTest, whoeverWaitsForTheFilingWaitsNoLongerThanTheySaid) {
    bool over = false;
    Scope jobs;
    const auto wait = [&] {
        jobs.start([](LocalToolChat* filing, bool* done) -> Task<> {
            co_await filing->filed(3s);
            *done = true;
        }(chat.get(), &over));
    };
    wait();
    EXPECT_TRUE(waitUntil([&] { return over; })) << "nothing is being filed";
    over = false;
    importHeld = std::make_unique<Event<>>();
    round(chunks::text("Un") + chunks::done());
    turn(QStringLiteral("un"));
    wait();
    settle();
    EXPECT_FALSE(over);
    world.clock.advance(3s);
    EXPECT_TRUE(waitUntil([&] { return over; }));
    EXPECT_TRUE(chat->isFiling());
    over = false;
    wait();
    settle();
    importHeld->set();
    EXPECT_TRUE(waitUntil([&] { return over; }));
    EXPECT_FALSE(chat->isFiling());
}

TEST_F(LocalToolChatTest, anEmptyAnswerIsFiledNowhere) {
    round(chunks::done());
    turn();
    EXPECT_EQ(last(), QString());
    EXPECT_EQ(imports, 0);
}

TEST_F(LocalToolChatTest, whatTheModelIsAndWhereStandsFromTheBeginningOfTheTurn) {
    HttpStreamScript first = openRound();
    round(chunks::text("ok") + chunks::done());
    const QString endpoint = session().localLLMEndpoint();
    send();
    ASSERT_TRUE(waitUntil([&] { return first.isAwaited(); }));
    session().setLocalLLMModel(QStringLiteral("llama-3"));
    session().setSelectedLocalModel(QStringLiteral("llama-4"));
    session().setLocalLLMEndpoint(QStringLiteral("http://127.0.0.1:9/v1"));
    first.say(call("list_shortcuts") + chunks::done());
    ASSERT_TRUE(ended());
    settle();
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(askedWhere, (std::vector<QUrl>(2, QUrl(endpoint + QStringLiteral("/chat/completions")))));
    EXPECT_EQ(asked[1][QLatin1String("model")].toString(), localModel);
    EXPECT_EQ(asked[1][QLatin1String("tools")].toArray(), LocalToolRegistry::schemas());
    EXPECT_EQ(imported.at(0)[QLatin1String("model")].toString(), localModel);
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
