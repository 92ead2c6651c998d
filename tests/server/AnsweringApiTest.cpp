#include "server/RunningServer.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace vennic::server::test {

namespace {
struct AnsweringApiTest : ::testing::Test {
    Answer choose(const QByteArray& body) { return server.owner("PUT", "/owner/answering", body); }
    QJsonObject chosen() { return server.owner("GET", "/owner/answering").json(); }
    QString offered() {
        const Answer answer = server.connect().request("GET", "/api/v1/providers.json");
        return QJsonDocument::fromJson(answer.body)
            .array()
            .at(0)[QLatin1String("models")][0][QLatin1String("slug")]
            .toString();
    }
    QString reply(const QByteArray& body) {
        return server.connect()
            .request("POST", "/api/v1/queries.json", clientFields(token), body)
            .json()
            .value(QLatin1String("text"))
            .toString();
    }
    RunningServer server;
    QByteArray token = server.pair();
};

QJsonObject choice(const char* who, const char* url, const char* model, bool hasKey, bool fixed = false) {
    return {{QStringLiteral("who"), QLatin1String(who)},
            {QStringLiteral("url"), QLatin1String(url)},
            {QStringLiteral("model"), QLatin1String(model)},
            {QStringLiteral("has_key"), hasKey},
            {QStringLiteral("fixed"), fixed}};
}
const QJsonObject plainRules = choice("simple", "", "", false);
// A port at which nobody listens: 9 is "discard", and no test's server takes it.
const QByteArray deaf = R"("url":"http://127.0.0.1:9/v1")";
} // namespace

TEST_F(AnsweringApiTest, whoAnswersIsTheOwnersAffair) {
    for (const char* method : {"GET", "PUT"}) {
        EXPECT_EQ(server.connect().request(method, "/owner/answering").status, 401);
        EXPECT_EQ(server.connect().request(method, "/owner/answering", clientFields(token)).status, 401);
    }
}

TEST_F(AnsweringApiTest, aChoiceHoldsFromTheNextQuestionOnAndAfterARestart) {
    EXPECT_EQ(chosen(), plainRules);
    EXPECT_EQ(offered(), QStringLiteral("vennic-simple"));
    EXPECT_EQ(choose(R"({"who":"server",)" + deaf + R"(,"model":"a/b","key":"sk-1"})").json(),
              choice("server", "http://127.0.0.1:9/v1", "a/b", true));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(chosen(), choice("server", "http://127.0.0.1:9/v1", "a/b", true));
        EXPECT_EQ(offered(), QStringLiteral("a/b"));
        EXPECT_EQ(reply(R"({"text":"aide"})"), QStringLiteral("⚠️ Le serveur du modèle est injoignable."));
        server.restart();
    }
    EXPECT_EQ(choose(R"({"who":"machine"})").json(), choice("machine", "http://127.0.0.1:9/v1", "a/b", true));
    EXPECT_EQ(offered(), QStringLiteral("local"));
    EXPECT_EQ(reply(R"({"text":"aide"})"), QStringLiteral("⚠️ Le modèle du Mac n'a pas répondu : "
                                                          "Aucun Mac n'est encore appairé avec ce compte."));
    EXPECT_EQ(choose(R"({"who":"simple"})").status, 200);
    EXPECT_TRUE(reply(R"({"text":"aide"})").startsWith(QStringLiteral("Je comprends")));
}

TEST_F(AnsweringApiTest, whoAsksForHisOwnMachineIsLedThereAndNotToTheServer) {
    choose(R"({"who":"server",)" + deaf + "}");
    EXPECT_TRUE(reply(R"({"text":"aide","provider":"local"})").contains(QStringLiteral("Aucun Mac")));
}

TEST_F(AnsweringApiTest, aKeyIsNeverShownAndGoesToNoOtherPlace) {
    choose(R"({"who":"server",)" + deaf + R"(,"key":"sk-secret"})");
    EXPECT_FALSE(server.owner("GET", "/owner/answering").body.contains("sk-secret"));
    EXPECT_EQ(choose(R"({"who":"server","url":"http://127.0.0.1:9/v2"})").json(),
              choice("server", "http://127.0.0.1:9/v2", "", true));
    EXPECT_EQ(choose(R"({"who":"server","url":"http://127.0.0.1:7/v2"})").json(),
              choice("server", "http://127.0.0.1:7/v2", "", false));
    choose(R"({"who":"server",)" + deaf + R"(,"key":"sk-secret"})");
    EXPECT_EQ(choose(R"({"who":"server",)" + deaf + R"(,"key":""})").json(),
              choice("server", "http://127.0.0.1:9/v1", "", false));
}

TEST_F(AnsweringApiTest, whatCannotBeUsedIsRefusedInWordsAndChangesNothing) {
    for (const auto& [body, status] : std::initializer_list<std::pair<QByteArray, int>>{
             {"{", 400},
             {"{}", 422},
             {R"({"who":"nobody"})", 422},
             {R"({"who":7})", 422},
             {R"({"who":"server"})", 422},
             {R"({"who":"server","url":7})", 422},
             {R"({"who":"server","url":"http://modele.exemple/v1"})", 422},
             {R"({"who":"server","url":"https://a:b@exemple/"})", 422},
             {R"({"who":"server",)" + deaf + R"(,"key":"a b"})", 422},
             {R"({"who":"server",)" + deaf + R"(,"key":"a\r\nb"})", 422},
             {R"({"who":"server",)" + deaf + R"(,"model":")" + QByteArray(201, 'x') + "\"}", 422},
             {R"({"who":"server",)" + deaf + R"(,"model":"a\u0000b"})", 422},
             {QByteArray(20 * 1024, ' '), 413}}) {
        const Answer answer = choose(body);
        EXPECT_EQ(answer.status, status) << body.left(80).toStdString();
        EXPECT_FALSE(answer.error().isEmpty());
    }
    EXPECT_EQ(chosen(), plainRules);
    EXPECT_EQ(choose(R"({"who":"server","url":"http://modele.exemple/v1"})").error(),
              QStringLiteral("L'adresse du modèle n'accepte http que vers la machine du serveur ; ailleurs, https."));
}

TEST(AnsweringByOptions, theCommandLineHasTheLastWord) {
    RunningServer server([](Options& options) { options.answering = AnswerChoice{Answerer::Machine, {}, {}, {}}; });
    EXPECT_EQ(server.owner("GET", "/owner/answering").json(), choice("machine", "", "", false, true));
    const Answer refused = server.owner("PUT", "/owner/answering", R"({"who":"simple"})");
    EXPECT_EQ(refused.status, 409);
    EXPECT_EQ(refused.error(), QStringLiteral("Les options de démarrage du serveur ont choisi qui répond."));
}

} // namespace vennic::server::test
