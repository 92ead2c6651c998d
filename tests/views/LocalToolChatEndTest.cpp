// How a turn ends that doesn't go well, and what becomes of one whose conversation goes.
#include "views/LocalToolChatFixture.h"

namespace vennic::test {
namespace {

using LocalToolChatEnd = LocalToolChatFixture;

const QString tooLong = QStringLiteral("La conversation est trop longue pour le modèle local.");

TEST_F(LocalToolChatEnd, aTurnWhoseToolsGiveWithoutEndFails) {
    world.automations->automations[QStringLiteral("journal")] =
        AutomationToolFake::ending({0, QByteArray(1 << 20, '\x01'), {}}); // 6 MiB each in JSON
    QByteArray calls;
    for (int number = 0; number < 40; ++number)
        calls += call("run_shortcut", R"({"name":"journal"})", number);
    round(calls + chunks::done());
    round(chunks::text("ok") + chunks::done());
    turn();
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:Bonjour"), QStringLiteral("a:⚠️ ") + tooLong}));
    EXPECT_EQ(session().lastError(), tooLong);
    EXPECT_EQ(world.automations->calls().size(), 11U) << "64 MiB are full, and no further tool runs";
    EXPECT_EQ(asked.size(), 1U);
    EXPECT_EQ(imports, 0);
}

TEST_F(LocalToolChatEnd, aConversationThatIsTooLongToBeginWithFailsToo) {
    const QString text(12'000'000, QChar(1)); // six characters each in JSON
    session().setMessages({ChatMessage::make(ChatMessage::Role::user, text, world.clock.now())});
    turn();
    EXPECT_EQ(last(), QStringLiteral("⚠️ ") + tooLong);
    EXPECT_TRUE(asked.empty());
}

TEST_F(LocalToolChatEnd, aServerThatStopsInTheThirdRoundIsToldInTheMessageAndInTheError) {
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

TEST_F(LocalToolChatEnd, everyFailureOfTheServerHasItsWords) {
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

TEST_F(LocalToolChatEnd, aTurnAfterAFailureGoesOn) {
    turn();
    round(chunks::text("ok") + chunks::done());
    turn();
    EXPECT_EQ(last(), QStringLiteral("ok"));
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(LocalToolChatEnd, aConversationThatIsClearedMeanwhileStaysCleared) {
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

TEST_F(LocalToolChatEnd, aTurnGoesOnInNoNewMessageOnceItsConversationHasGone) {
    HttpStreamScript first = openRound();
    round(chunks::text("Rien n'est partagé.") + chunks::done());
    send();
    ASSERT_TRUE(waitUntil([&] { return first.isAwaited(); }));
    first.say(chunks::text("Je cherche."));
    ASSERT_TRUE(shows(QStringLiteral("Je cherche.")));
    view_->newConversation();
    EXPECT_TRUE(session().isStreaming()) << "the turn goes on";
    first.say(call("list_local_folders") + chunks::done());
    ASSERT_TRUE(ended());
    settle();
    EXPECT_TRUE(said().isEmpty());
    EXPECT_EQ(asked.size(), 2U);
    EXPECT_EQ(imports, 1);
}

TEST_F(LocalToolChatEnd, aMessageThatTookThePlaceOfTheTurnsIsLeftAlone) {
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

TEST_F(LocalToolChatEnd, aCancelledTurnEndsAsAFailureDoes) {
    HttpStreamScript server = openRound();
    Scope jobs;
    session().setIsStreaming(true);
    Job job = jobs.start(run(chat.get()));
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    job.cancel();
    ASSERT_TRUE(ended());
    EXPECT_EQ(last(), QStringLiteral("⚠️ La requête a été annulée."));
    EXPECT_EQ(session().lastError(), QStringLiteral("La requête a été annulée."));
    EXPECT_TRUE(server.isClosed());
}

TEST_F(LocalToolChatEnd, aToolThatRunsEndsWithItsCancelledTurn) {
    world.automations->automations[QStringLiteral("long")] = AutomationToolFake::endless;
    round(call("run_shortcut", R"({"name":"long"})") + chunks::done());
    Scope jobs;
    session().setIsStreaming(true);
    Job job = jobs.start(run(chat.get()));
    ASSERT_TRUE(waitUntil([&] { return world.automations->calls().size() == 1; }));
    EXPECT_EQ(last(), QStringLiteral("🔧 Exécution du raccourci…"));
    job.cancel();
    ASSERT_TRUE(ended());
    EXPECT_EQ(last(), QStringLiteral("⚠️ La requête a été annulée."));
}

TEST_F(LocalToolChatEnd, theEndOfTheViewEndsTheTurnAndTheServersWork) {
    HttpStreamScript server = openRound();
    send();
    ASSERT_TRUE(waitUntil([&] { return server.isAwaited(); }));
    view_.reset();
    EXPECT_TRUE(server.isClosed());
}

TEST_F(LocalToolChatEnd, theEndIsTheTextOrTheSentenceOfTheFailure) {
    round(call("list_shortcuts") + chunks::done());
    round(chunks::text("Voi") + chunks::text("là") + chunks::done());
    EXPECT_EQ(await(chat->runDirectLocal(QStringLiteral("x"))), (TurnEnd{false, QStringLiteral("Voilà")}));
    EXPECT_EQ(await(chat->runDirectLocal(QStringLiteral("x"))),
              (TurnEnd{true, QStringLiteral("Le serveur a refusé la connexion.")}));
}

} // namespace
} // namespace vennic::test
