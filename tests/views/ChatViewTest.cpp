#include "backend/ChatView.h"

#include "base/Json.h"
#include "core/SessionFixture.h"
#include "fakes/DirectLocalChatFake.h"
#include "support/TestClock.h"

#include <QJsonDocument>

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct ChatViewTest : test::SessionFixture {
    test::TestClock clock;
    test::DirectLocalChatFake local{[this]() -> AppSession& { return session(); }};
    std::unique_ptr<ChatView> built_;

    ChatView& view() {
        if (!built_)
            built_ = std::make_unique<ChatView>(ChatView::Surroundings{session(), http, config, clock, local});
        return *built_;
    }
    ChatView& signedInView() {
        signedIn();
        return view();
    }
    void reply(const QByteArray& text, int discussion = 5) {
        transport.answerWith(200, "event: final\ndata: " +
                                      QJsonDocument(QJsonObject{{QStringLiteral("text"), QString::fromUtf8(text)},
                                                                {QStringLiteral("discussion_id"), discussion}})
                                          .toJson(QJsonDocument::Compact) +
                                      "\n\n");
    }
    void send(const QString& draft) {
        view().setDraft(draft);
        view().send();
    }
    QJsonObject sent(std::size_t at = 0) {
        return QJsonDocument::fromJson(transport.requests.at(at).body.value()).object();
    }
};

TEST_F(ChatViewTest, aTurnShowsTheTrimmedTextAndThenTheReply) {
    signedInView();
    transport.hold();
    reply("Salut !", 5);
    session().setLastError(QStringLiteral("vieux"));
    send(QStringLiteral("  bonjour \n"));
    EXPECT_EQ(view().draft(), QString());
    EXPECT_EQ(said(), QStringList{QStringLiteral("u:bonjour")});
    EXPECT_TRUE(session().isStreaming());
    EXPECT_EQ(session().lastError(), std::nullopt);
    settle();
    transport.release();
    settle();
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:bonjour"), QStringLiteral("a:Salut !")}));
    EXPECT_EQ(session().discussionId(), 5);
    EXPECT_FALSE(session().isStreaming());
    EXPECT_TRUE(stored("chatMessages"));
}

TEST_F(ChatViewTest, blanksAreNothingToSendAndStay) {
    signedInView();
    send(QStringLiteral(" \n\t "));
    settle();
    EXPECT_EQ(view().draft(), QStringLiteral(" \n\t "));
    EXPECT_TRUE(said().isEmpty());
    EXPECT_TRUE(transport.requests.empty());
    EXPECT_FALSE(view().canSend());
}

TEST_F(ChatViewTest, whatIsTooLongForTheBackendStaysInTheDraftAndIsSaid) {
    signedInView();
    const QString words = QStringLiteral("Ton message est trop long pour être envoyé : 262144 caractères au plus.");
    const QString longest(262'144, u'x');
    send(longest + u'x');
    settle();
    EXPECT_EQ(view().draft().size(), 262'145);
    EXPECT_EQ(session().lastError(), words);
    EXPECT_TRUE(said().isEmpty());
    EXPECT_EQ(test::await(view().ask(longest + u'x')), (TurnEnd{true, words}));
    EXPECT_TRUE(transport.requests.empty());
    reply("ok");
    send(u' ' + longest + u'\n');
    settle();
    EXPECT_EQ(view().draft(), QString());
    EXPECT_EQ(session().lastError(), std::nullopt);
    EXPECT_EQ(sent().value(QLatin1String("text")).toString(), longest);
}

TEST_F(ChatViewTest, aSecondSendDuringATurnKeepsTheDraft) {
    signedInView();
    transport.hold();
    reply("un");
    send(QStringLiteral("premier"));
    settle();
    EXPECT_FALSE(view().canSend());
    send(QStringLiteral("second"));
    settle();
    EXPECT_EQ(view().draft(), QStringLiteral("second"));
    EXPECT_EQ(transport.requests.size(), 1u);
    transport.release();
    settle();
    EXPECT_TRUE(view().canSend());
}

TEST_F(ChatViewTest, theTokenProviderAndDiscussionAreThoseOfTheSending) {
    signedInView();
    session().setDiscussionId(3);
    session().setProvider(Provider::anthropic);
    reply("x", 3);
    send(QStringLiteral("q"));
    session().setProvider(Provider::gemini);
    session().setDiscussionId(9);
    session().setSelectedCloudModel(QStringLiteral("opus"));
    settle();
    EXPECT_EQ(sent().value(QLatin1String("provider")), QStringLiteral("anthropic"));
    EXPECT_EQ(sent().value(QLatin1String("discussion_id")), 3);
    EXPECT_EQ(sent().value(QLatin1String("model")), QStringLiteral("opus")) << "the model is read inside the job";
}

TEST_F(ChatViewTest, aTurnBehindOneThatIsBeingFiledJoinsItsDiscussion) {
    signedInView();
    local.filing = true;
    local.onFiled = [this] { session().setDiscussionId(4); };
    reply("x", 4);
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(sent().value(QLatin1String("discussion_id")), 4);
}

TEST_F(ChatViewTest, aConversationThatWasClearedMeanwhileIsNotDrawnIntoTheOld) {
    signedInView();
    local.filing = true;
    local.onFiled = [this] {
        session().clearConversation();
        session().setDiscussionId(4); // of the turn that was filed
    };
    reply("x", 5);
    send(QStringLiteral("q"));
    settle();
    EXPECT_FALSE(sent().contains(QLatin1String("discussion_id")));
}

TEST_F(ChatViewTest, aReplyWithoutADiscussionIsDiscussionZero) {
    signedInView();
    transport.answerWith(200, "data: x\n\n");
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(session().discussionId(), 0);
    transport.answerWith(200, "data: y\n\n");
    send(QStringLiteral("r"));
    settle();
    EXPECT_EQ(sent(1).value(QLatin1String("discussion_id")), 0);
}

TEST_F(ChatViewTest, aFailureStaysInTheTranscript) {
    signedInView();
    transport.answerWith(500, "panne");
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(session().lastError(), QStringLiteral("Erreur HTTP 500 : panne"));
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:q"), QStringLiteral("a:⚠️ Erreur HTTP 500 : panne")}));
    EXPECT_FALSE(session().isStreaming());
    EXPECT_EQ(session().discussionId(), std::nullopt);
    const auto kept = storedAs<QByteArray>(store, QStringLiteral("chatMessages"));
    ASSERT_TRUE(kept);
    EXPECT_EQ(decodeConversation(*kept).size(), 2u);
}

TEST_F(ChatViewTest, aTransportFailureSpeaksItsSentence) {
    signedInView();
    transport.failWith(TransportFault::noNetwork);
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(said().last(), QStringLiteral("a:⚠️ Pas de connexion au réseau."));
}

TEST_F(ChatViewTest, whoIsNotSignedInIsToldSo) {
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(said().last(), QStringLiteral("a:⚠️ Pas connecté. Configure ton jeton dans Réglages."));
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ChatViewTest, aLocalServerThatAnswersTakesTheTurnEvenSignedOut) {
    local.reachable = true;
    session().setProvider(Provider::local);
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(local.prompts, std::vector<QString>{QStringLiteral("q")});
    EXPECT_EQ(said().last(), QStringLiteral("a:d'ici"));
    EXPECT_TRUE(transport.requests.empty());
    EXPECT_EQ(local.asked, std::vector<QString>{QStringLiteral("http://localhost:8080/v1")});
    EXPECT_EQ(local.timeouts, std::vector<std::chrono::milliseconds>{2s});
}

TEST_F(ChatViewTest, aLocalServerThatIsAwayLeavesTheTurnToTheBackend) {
    signedInView();
    session().setProvider(Provider::local);
    session().setSelectedLocalModel(QStringLiteral("qwen"));
    session().setSelectedCloudModel(QStringLiteral("cloud"));
    reply("x");
    send(QStringLiteral("q"));
    settle();
    EXPECT_EQ(local.asked.size(), 1u);
    EXPECT_EQ(sent().value(QLatin1String("provider")), QStringLiteral("local"));
    EXPECT_EQ(sent().value(QLatin1String("model")), QStringLiteral("qwen"));
}

TEST_F(ChatViewTest, noOtherProviderAsksForTheLocalServer) {
    signedInView();
    reply("x");
    send(QStringLiteral("q"));
    settle();
    EXPECT_TRUE(local.asked.empty());
    EXPECT_FALSE(sent().contains(QLatin1String("model")));
}

TEST_F(ChatViewTest, aNewConversationDoesNotDetachTheTurnThatRuns) {
    signedInView();
    session().setDiscussionId(3);
    transport.hold();
    reply("tard", 3);
    send(QStringLiteral("q"));
    settle();
    view().newConversation();
    EXPECT_TRUE(said().isEmpty());
    EXPECT_TRUE(view().inputFocused());
    transport.release();
    settle();
    EXPECT_EQ(said(), QStringList{QStringLiteral("a:tard")});
    EXPECT_EQ(session().discussionId(), 3);
}

TEST_F(ChatViewTest, whatCanBeForgottenIsAMessageOrADiscussion) {
    int told = 0;
    QObject::connect(&view(), &ChatView::canForgetChanged, [&told] { ++told; });
    EXPECT_FALSE(view().canForget());
    session().setDiscussionId(0);
    EXPECT_TRUE(view().canForget());
    session().appendMessage(ChatMessage::make(ChatMessage::Role::user, QStringLiteral("a"), clock.now()));
    session().setDiscussionId(std::nullopt);
    EXPECT_TRUE(view().canForget());
    EXPECT_EQ(told, 1);
    view().newConversation();
    EXPECT_FALSE(view().canForget());
    EXPECT_EQ(told, 2);
}

TEST_F(ChatViewTest, whereThereIsNothingToForgetTheInputGetsTheFocusAlone) {
    view();
    store.writes.clear();
    view().newConversation();
    EXPECT_TRUE(view().inputFocused());
    EXPECT_TRUE(store.writes.empty());
}

TEST_F(ChatViewTest, askingWaitsForTheReplyAndLeavesTheDraft) {
    signedInView();
    view().setDraft(QStringLiteral("brouillon"));
    reply("Salut");
    const auto end = test::await(view().ask(QStringLiteral(" q ")));
    ASSERT_TRUE(end);
    EXPECT_FALSE(end->failed);
    EXPECT_EQ(end->text, QStringLiteral("Salut"));
    EXPECT_EQ(view().draft(), QStringLiteral("brouillon"));
    EXPECT_EQ(said(), (QStringList{QStringLiteral("u:q"), QStringLiteral("a:Salut")}));
}

TEST_F(ChatViewTest, aQuestionForTheLocalModelLeavesTheChoiceOfProviderAlone) {
    signedInView();
    session().setProvider(Provider::anthropic);
    local.reachable = true;
    const auto end = test::await(view().ask(QStringLiteral("q"), Provider::local));
    ASSERT_TRUE(end);
    EXPECT_EQ(end->text, QStringLiteral("d'ici"));
    EXPECT_EQ(local.prompts, std::vector<QString>{QStringLiteral("q")});
    local.reachable = false;
    reply("d'ailleurs");
    EXPECT_EQ(test::await(view().ask(QStringLiteral("r"), Provider::local))->text, QStringLiteral("d'ailleurs"));
    EXPECT_EQ(sent().value(QLatin1String("provider")), QStringLiteral("local"));
    EXPECT_EQ(session().provider(), Provider::anthropic);
}

TEST_F(ChatViewTest, whatElseGoesWrongDuringALocalTurnIsNotItsEnd) {
    signedInView();
    local.reachable = true;
    local.whileAnswering = [this] {
        session().setLastError(QStringLiteral("Session expirée"));
        session().appendMessage(ChatMessage::make(ChatMessage::Role::user, QStringLiteral("autre chose"), clock.now()));
    };
    EXPECT_EQ(test::await(view().ask(QStringLiteral("q"), Provider::local)), (TurnEnd{false, QStringLiteral("d'ici")}));
    local.end = {true, QStringLiteral("panne")};
    local.whileAnswering = [this] { session().setLastError(std::nullopt); };
    EXPECT_EQ(test::await(view().ask(QStringLiteral("q"), Provider::local)), (TurnEnd{true, QStringLiteral("panne")}));
}

TEST_F(ChatViewTest, askingTellsAFailure) {
    signedInView();
    transport.answerWith(503);
    const auto end = test::await(view().ask(QStringLiteral("q")));
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->failed);
    EXPECT_EQ(end->text, QStringLiteral("Erreur HTTP 503"));
}

TEST_F(ChatViewTest, askingForNothingOrDuringATurnIsRefused) {
    signedInView();
    EXPECT_FALSE(test::await(view().ask(QStringLiteral(" \n"))));
    transport.hold();
    send(QStringLiteral("q"));
    settle();
    EXPECT_FALSE(test::await(view().ask(QStringLiteral("r"))));
    EXPECT_EQ(said().size(), 1);
}

TEST_F(ChatViewTest, whoStopsWaitingLeavesTheTurnRunning) {
    signedInView();
    transport.hold();
    reply("quand même");
    {
        Scope scope;
        scope.start([](ChatView* view) -> Task<> { co_await view->ask(QStringLiteral("q")); }(&view()));
        settle();
        ASSERT_EQ(transport.waiting(), 1u);
    }
    transport.release();
    settle();
    EXPECT_EQ(said().last(), QStringLiteral("a:quand même"));
    EXPECT_FALSE(session().isStreaming());
}

} // namespace
} // namespace vennic
