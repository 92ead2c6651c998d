#include "backend/APIConfig.h"
#include "backend/APIService.h"
#include "base/Json.h"
#include "support/Await.h"
#include "support/ScriptedBackend.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct AccountCalls : testing::Test, test::ScriptedBackend {
    APIService api(std::optional<SecretText> token = SecretText{"tok"}) { return {http, config, token, {}}; }
    QJsonObject sentBody() { return QJsonDocument::fromJson(transport.requests.at(0).body.value()).object(); }
    QString sentLine() {
        const HttpRequest& request = transport.requests.at(0);
        return QString::fromUtf8(request.method) + QLatin1Char(' ') + request.url.toString();
    }
    std::optional<QByteArray> header(const char* name) {
        for (const HttpHeader& header : transport.requests.at(0).headers)
            if (header.name == name)
                return header.value;
        return std::nullopt;
    }
    template <class T>
    static QString failure(Task<T> task) {
        try {
            test::await(std::move(task));
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return {};
    }
    ChatReply complete(const CompletionRequest& request, CompletionStream::OnDelta onDelta = {}) {
        return test::await(api().complete(request, std::move(onDelta)));
    }
    static CompletionRequest query(Provider provider = Provider::openai) {
        CompletionRequest request;
        request.prompt = QStringLiteral("bonjour");
        request.provider = provider;
        return request;
    }
};

TEST_F(AccountCalls, preferencesAreFetchedWithTheToken) {
    transport.answerWith(200, R"({"id":5,"email":"a@b.fr","default_voice_mode":"ptt","default_provider":"gemini",
        "default_model":"m","transcribe_audio":false,"audio_output":true,"default_audio_voice":"cedar","more":1})");
    const UserPrefs prefs = test::await(api().fetchUserPrefs());
    EXPECT_EQ(prefs.id, 5);
    EXPECT_EQ(prefs.email, QStringLiteral("a@b.fr"));
    EXPECT_EQ(prefs.default_voice_mode, QStringLiteral("ptt"));
    EXPECT_EQ(prefs.default_provider, QStringLiteral("gemini"));
    EXPECT_EQ(prefs.default_model, QStringLiteral("m"));
    EXPECT_EQ(prefs.transcribe_audio, false);
    EXPECT_EQ(prefs.audio_output, true);
    EXPECT_EQ(prefs.default_audio_voice, QStringLiteral("cedar"));
    EXPECT_EQ(sentLine(), QStringLiteral("GET https://api.vennic.test/api/v1/me.json"));
    EXPECT_EQ(transport.requests[0].timeout, 15s);
    EXPECT_EQ(transport.requests[0].secretHeaders.at(0).value, SecretText{"tok"});
}

TEST_F(AccountCalls, preferencesNeedNothingButAnIdentifier) {
    transport.answerWith(200, R"({"id":5,"email":null})");
    EXPECT_EQ(test::await(api().fetchUserPrefs()), (UserPrefs{.id = 5}));
    transport.answerWith(200, R"({"email":"a@b.fr"})");
    EXPECT_THROW(test::await(api().fetchUserPrefs()), DecodingError);
    transport.answerWith(200, R"({"id":5,"transcribe_audio":"yes"})");
    EXPECT_THROW(test::await(api().fetchUserPrefs()), DecodingError);
}

TEST_F(AccountCalls, anExpiredTokenIsAnnouncedAndRaised) {
    transport.answerWith(401, "non");
    EXPECT_EQ(failure(api().fetchUserPrefs()), QStringLiteral("Erreur HTTP 401 : non"));
    EXPECT_EQ(authFailures, 1);
}

TEST_F(AccountCalls, aChangeSendsWhatItHoldsUnderUser) {
    transport.answerWith(200, "not json");
    test::await(api().patchUserPrefs(12, {.voiceMode = QStringLiteral("ptt"),
                                          .provider = QStringLiteral("local"),
                                          .transcribeAudio = true,
                                          .audioOutput = false,
                                          .audioVoice = QStringLiteral("ash")}));
    EXPECT_EQ(sentLine(), QStringLiteral("PATCH https://api.vennic.test/users/12.json"));
    EXPECT_EQ(header("Content-Type"), "application/json");
    EXPECT_EQ(transport.requests[0].timeout, 15s);
    EXPECT_EQ(sentBody(),
              parseJsonObject(R"({"user":{"default_voice_mode":"ptt","default_provider":"local","transcribe_audio":true,
                                 "audio_output":false,"default_audio_voice":"ash"}})"));
}

TEST_F(AccountCalls, anEmptyChangeSendsAnEmptyUser) {
    transport.answerWith(204);
    test::await(api().patchUserPrefs(12, {}));
    EXPECT_EQ(transport.requests[0].body, QByteArray(R"({"user":{}})"));
}

TEST_F(AccountCalls, discussionsComeInTheServersOrder) {
    transport.answerWith(200, R"([{"id":9,"name":"Neuf","updated_at":"hier, ou presque","queries_count":3},{"id":2}])");
    const auto discussions = test::await(api().fetchRecentDiscussions(5));
    ASSERT_EQ(discussions.size(), 2u);
    EXPECT_EQ(discussions[0], (RecentDiscussion{9, QStringLiteral("Neuf"), QStringLiteral("hier, ou presque"), 3}));
    EXPECT_EQ(discussions[1], (RecentDiscussion{.id = 2}));
    EXPECT_EQ(sentLine(), QStringLiteral("GET https://api.vennic.test/api/v1/discussions.json?limit=5"));
    EXPECT_EQ(transport.requests[0].timeout, 12s);
}

TEST_F(AccountCalls, discussionsThatAreNoListAreRefused) {
    for (const char* body : {"{}", "[1]", R"([{"name":"x"}])", ""}) {
        transport.answerWith(200, body);
        EXPECT_THROW(test::await(api().fetchRecentDiscussions(5)), DecodingError) << body;
    }
}

TEST_F(AccountCalls, aLocalTurnIsFiledWhole) {
    transport.answerWith(200, R"({"discussion_id":77})");
    const auto id = test::await(api().importLocalTurn({.prompt = QStringLiteral("q"),
                                                       .responseText = QStringLiteral("r"),
                                                       .model = QStringLiteral("m"),
                                                       .discussionId = 3,
                                                       .ref = QStringLiteral("x")}));
    EXPECT_EQ(id, 77);
    EXPECT_EQ(sentLine(), QStringLiteral("POST https://api.vennic.test/api/v1/queries/import.json"));
    EXPECT_EQ(header("Content-Type"), "application/json");
    EXPECT_EQ(transport.requests[0].timeout, 15s);
    EXPECT_EQ(transport.requests[0].secretHeaders.at(0).value, SecretText{"tok"});
    EXPECT_EQ(sentBody(), parseJsonObject(R"({"text":"q","response_text":"r","model":"m","channel":"desktop",
                                             "language":"fr-FR","discussion_id":3,"ref":"x"})"));
}

TEST_F(AccountCalls, whatIsMissingOfALocalTurnIsNotSent) {
    transport.answerWith(200, "{}");
    test::await(api().importLocalTurn({.prompt = QStringLiteral("q"), .responseText = {}, .model = {}}));
    EXPECT_FALSE(sentBody().contains(QLatin1String("discussion_id")));
    EXPECT_FALSE(sentBody().contains(QLatin1String("ref")));
}

TEST_F(AccountCalls, anAnswerToALocalTurnThatNamesNoDiscussionIsNoFailure) {
    for (const char* body : {"", "[]", "nonsense", R"({"discussion_id":"7"})", R"({"discussion_id":7.5})", "{}"}) {
        transport.answerWith(200, body);
        EXPECT_EQ(test::await(api().importLocalTurn({})), std::nullopt) << body;
    }
}

TEST_F(AccountCalls, aRefusedLocalTurnRaisesItsStatus) {
    transport.answerWith(500, "panne");
    EXPECT_EQ(failure(api().importLocalTurn({})), QStringLiteral("Erreur HTTP 500 : panne"));
    transport.answerWith(HttpResponse{std::nullopt, {}, "junk"});
    EXPECT_EQ(failure(api().importLocalTurn({})), QStringLiteral("Erreur HTTP -1 : junk"));
}

TEST_F(AccountCalls, everyCallWithTheTokenAnnouncesAnExpiredOne) {
    for (int i = 0; i < 4; ++i)
        transport.answerWith(401, "non");
    const QString words = QStringLiteral("Erreur HTTP 401 : non");
    EXPECT_EQ(failure(api().importLocalTurn({})), words);
    EXPECT_EQ(authFailures, 1);
    EXPECT_EQ(failure(api().patchUserPrefs(1, {})), words);
    EXPECT_EQ(authFailures, 2);
    EXPECT_EQ(failure(api().fetchRecentDiscussions(5)), words);
    EXPECT_EQ(authFailures, 3);
    EXPECT_EQ(failure(api().revokeCurrentSession()), words);
    EXPECT_EQ(authFailures, 4);
}

TEST_F(AccountCalls, noAnswerAboutAnAccountIsReadBeyondAMebibyte) {
    for (int i = 0; i < 6; ++i)
        transport.answerWith(204);
    failure(api().fetchUserPrefs());
    failure(api().patchUserPrefs(1, {}));
    failure(api().fetchRecentDiscussions(5));
    failure(api().importLocalTurn({}));
    failure(api().revokeCurrentSession());
    failure(APIService::claimPairing(http, config, QStringLiteral("CODE")));
    ASSERT_EQ(transport.requests.size(), 6U);
    for (const HttpRequest& request : transport.requests)
        EXPECT_EQ(request.maxAnswerBytes, 1 << 20) << request.url.toString().toStdString();
}

TEST_F(AccountCalls, withoutATokenNothingIsSent) {
    for (const auto& token : {std::optional<SecretText>(), std::optional(SecretText{""})}) {
        const QString words = QStringLiteral("Pas connecté. Configure ton jeton dans Réglages.");
        EXPECT_EQ(failure(api(token).fetchUserPrefs()), words);
        EXPECT_EQ(failure(api(token).patchUserPrefs(1, {})), words);
        EXPECT_EQ(failure(api(token).fetchRecentDiscussions(5)), words);
        EXPECT_EQ(failure(api(token).importLocalTurn({})), words);
        EXPECT_EQ(failure(api(token).complete(query())), words);
    }
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(AccountCalls, aQuerySaysWhereItComesFrom) {
    transport.answerWith(200);
    CompletionRequest request = query(Provider::anthropic);
    request.discussionId = 4;
    request.localModel = QStringLiteral("l");
    request.cloudModel = QStringLiteral("c");
    complete(request);
    EXPECT_EQ(sentLine(), QStringLiteral("POST https://api.vennic.test/api/v1/queries.json"));
    EXPECT_EQ(sentBody(),
              parseJsonObject(R"({"text":"bonjour","provider":"anthropic","channel":"desktop","format_shape":"simple",
        "stream":true,"product_context":"vennic","surface":"vennic_desktop","agent_slug":"assistant",
        "proactive_mode":"suggestions","discussion_id":4,"model":"c"})"));
    EXPECT_EQ(header("Accept"), "text/event-stream");
    EXPECT_EQ(header("Content-Type"), "application/json");
    EXPECT_EQ(transport.requests[0].timeout, 240s);
    EXPECT_EQ(transport.requests[0].secretHeaders.at(0).value, SecretText{"tok"});
}

TEST_F(AccountCalls, theModelOfAQueryFollowsItsProvider) {
    const auto model = [this](Provider provider, std::optional<QString> local, std::optional<QString> cloud) {
        transport.requests.clear();
        transport.answerWith(200);
        CompletionRequest request = query(provider);
        request.localModel = std::move(local);
        request.cloudModel = std::move(cloud);
        complete(request);
        return sentBody().contains(QLatin1String("model")) ? sentBody().value(QLatin1String("model")).toString()
                                                           : QStringLiteral("(none)");
    };
    EXPECT_EQ(model(Provider::openai, QStringLiteral("l"), {}), QStringLiteral("(none)"));
    EXPECT_EQ(model(Provider::openai, QStringLiteral("l"), QString()), QStringLiteral("(none)"));
    EXPECT_EQ(model(Provider::local, QStringLiteral("l"), QStringLiteral("c")), QStringLiteral("l"));
    EXPECT_EQ(model(Provider::local, QString(), QStringLiteral("c")), QStringLiteral("local"));
    EXPECT_EQ(model(Provider::local, {}, {}), QStringLiteral("local"));
}

TEST_F(AccountCalls, aQueryTrustsTheSystemsRootsAndAnnouncesNo401) {
    transport.answerWith(401, "expiré");
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Erreur HTTP 401 : expiré"));
    EXPECT_EQ(authFailures, 0);
    EXPECT_EQ(transport.requests[0].anchors, nullptr);
}

TEST_F(AccountCalls, aReplyIsReadPieceByPiece) {
    transport.answerWith(200,
                         "event: initial\r\ndata: {\"discussion_id\":8}\r\n\r\ndata: Bon\r\n\r\ndata: jour\r\n\r\n");
    QStringList deltas;
    EXPECT_EQ(complete(query(), [&](const QString& delta) { deltas.append(delta); }),
              (ChatReply{QStringLiteral("Bonjour"), 8}));
    EXPECT_EQ(deltas, (QStringList{QStringLiteral("Bon"), QStringLiteral("jour")}));
}

TEST_F(AccountCalls, aReplyWithoutADiscussionKeepsTheCallers) {
    transport.answerWith(200, "data: x\n\n");
    CompletionRequest request = query();
    request.discussionId = 6;
    EXPECT_EQ(complete(request).discussionId, 6);
    transport.answerWith(200, "data: x\n\n");
    EXPECT_EQ(complete(query()).discussionId, 0);
}

TEST_F(AccountCalls, aRefusedQueryGivesItsFirstLinesRunTogether) {
    transport.answerWith(422, "un\r\ndeux\n\ntrois");
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Erreur HTTP 422 : undeuxtrois"));
    transport.answerWith(500, QByteArray(2000, 'x'));
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Erreur HTTP 500 : ") + QString(2000, u'x'));
    QByteArray many;
    for (int line = 0; line < 20; ++line)
        many += QByteArray(100, 'y') + '\n';
    transport.answerWith(500, many);
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Erreur HTTP 500 : ") + QString(600, u'y'));
    transport.answerWith(304);
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Erreur HTTP 304"));
}

TEST_F(AccountCalls, anAnswerThatIsNotHttpIsUnreadable) {
    transport.answerWith(HttpResponse{std::nullopt, {}, "junk"});
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Réponse illisible du serveur"));
}

TEST_F(AccountCalls, aStreamThatBreaksLosesWhatItSaid) {
    transport.answerWith(200, "data: half\n\ndata: more\n\n");
    transport.streamFault = TransportFault::cutOff;
    QStringList deltas;
    EXPECT_EQ(failure(api().complete(query(), [&](const QString& delta) { deltas.append(delta); })),
              QStringLiteral("La connexion au serveur a été coupée."));
    EXPECT_EQ(deltas.size(), 2);
}

TEST_F(AccountCalls, aRefusalThatBreaksRaisesTheBreak) {
    transport.answerWith(500, "half");
    transport.streamFault = TransportFault::timedOut;
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Le serveur n'a pas répondu à temps."));
}

TEST_F(AccountCalls, aLineWithoutEndIsGivenUp) {
    transport.pieceBytes = 1 << 16;
    const QByteArray endless = "data: " + QByteArray(2 << 20, 'x');
    transport.answerWith(200, endless);
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("La réponse du serveur est trop volumineuse."));
    transport.answerWith(500, endless);
    EXPECT_EQ(failure(api().complete(query())), QStringLiteral("Erreur HTTP 500")) << "a refusal keeps its status";
}

} // namespace
} // namespace vennic
