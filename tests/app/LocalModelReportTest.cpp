#include "app/LocalModelReport.h"

#include "app/ClientWorld.h"
#include "support/Await.h"

namespace vennic::test {
namespace {

struct LocalModelReportTest : ClientWorld {
    LoopbackServer model{{.tls = false}};

    LocalModelReportTest() {
        model.onRequest(answers::plain(200, R"({"data":[{"id":"Qwen/Qwen3-8B"}]})"));
        setUp({"endpoint", endpoint().toUtf8().constData()});
    }
    QString endpoint() const { return model.url(QStringLiteral("/v1")).toString(); }
    void setUp(std::initializer_list<const char*> words) {
        QStringList list;
        for (const char* word : words)
            list.append(QString::fromUtf8(word));
        setUpLocalModel(client().session(), list);
    }
    QJsonObject data() { return await(localModelData(&client())); }
    std::string sentence() { return localModelSentence(data()).toStdString(); }
};

TEST_F(LocalModelReportTest, aModelThatIsSwitchedOffIsNotAsked) {
    EXPECT_EQ(data(), (QJsonObject{{QStringLiteral("enabled"), false},
                                   {QStringLiteral("endpoint"), endpoint()},
                                   {QStringLiteral("model"), QStringLiteral("Qwen/Qwen3-14B-MLX-4bit")},
                                   {QStringLiteral("reachable"), false},
                                   {QStringLiteral("timed_out"), false},
                                   {QStringLiteral("loaded_model"), QJsonValue::Null},
                                   {QStringLiteral("tokens_per_second"), QJsonValue::Null}}));
    EXPECT_EQ(sentence(), "désactivé (« vennic model on » l'active)");
    EXPECT_EQ(model.connections(), 0);
}

TEST_F(LocalModelReportTest, whatIsLoadedAndHowFastItIsAreTold) {
    setUp({"on"});
    EXPECT_EQ(sentence(), "Qwen/Qwen3-8B");
    client().telemetry().generationEnded(25, 2000);
    EXPECT_EQ(data().value(QLatin1String("tokens_per_second")), 12.5);
    EXPECT_EQ(sentence(), "Qwen/Qwen3-8B, 12,5 jetons par seconde");
    EXPECT_EQ(model.count("GET", "/v1/models"), 4)
        << "whether it is there is asked each time, what it has once a minute";
    for (const ReceivedRequest& request : model.requests())
        EXPECT_TRUE(request.header("X-User-Token").isNull());
}

TEST_F(LocalModelReportTest, aServerWithoutAModelIsTold) {
    model.onRequest(answers::plain(200, R"({"data":[]})"));
    setUp({"on"});
    EXPECT_EQ(sentence(), "serveur en marche, aucun modèle annoncé");
}

TEST_F(LocalModelReportTest, aServerThatIsNotThereIsNamed) {
    const RefusingPort port;
    setUp({"on"});
    setUp({"endpoint", QStringLiteral("http://127.0.0.1:%1/v1").arg(port.port()).toUtf8().constData()});
    EXPECT_EQ(sentence(), QStringLiteral("aucune réponse de http://127.0.0.1:%1/v1").arg(port.port()).toStdString());
}

TEST_F(LocalModelReportTest, whoAsksIsNotKeptByAServerThatSaysNothing) {
    model.onRequest(answers::bytesThenSilence({}));
    setUp({"on"});
    EXPECT_EQ(sentence(), QStringLiteral("aucune réponse de %1 en une seconde").arg(endpoint()).toStdString());
    EXPECT_EQ(data().value(QLatin1String("timed_out")), true);
}

TEST_F(LocalModelReportTest, whoAsksIsNotKeptByAServerThatDripsOrFallsSilentLater) {
    setUp({"on"});
    model.onRequest(answers::drip(answerBytes(200, R"({"data":[]})"), std::chrono::milliseconds{100}));
    EXPECT_EQ(data().value(QLatin1String("timed_out")), true);
    std::atomic<int> asked = 0;
    const AnswerScript whole = answers::plain(200, R"({"data":[]})");
    const AnswerScript nothing = answers::bytesThenSilence({});
    model.onRequest(
        [&](Wire& wire, const ReceivedRequest& request) { (asked++ == 0 ? whole : nothing)(wire, request); });
    EXPECT_EQ(sentence(), "serveur en marche, mais trop lent pour annoncer son modèle");
}

TEST_F(LocalModelReportTest, whatIsSetUpIsKept) {
    setUp({"name", "owner/model"});
    setUp({"on"});
    EXPECT_TRUE(client().session().localLLMEnabled());
    EXPECT_EQ(client().session().localLLMModel(), QStringLiteral("owner/model"));
    setUp({"off"});
    EXPECT_FALSE(client().session().localLLMEnabled());
    EXPECT_THROW(setUp({"endpoint", "pas une adresse"}), LocalizedError);
    EXPECT_EQ(client().session().localLLMEndpoint(), endpoint());
}

} // namespace
} // namespace vennic::test
