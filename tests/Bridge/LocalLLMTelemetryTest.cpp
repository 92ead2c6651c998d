#include "Bridge/LocalLLMTelemetry.h"

#include "Bridge/BridgeHeartbeat.h"
#include "Bridge/LocalLLMHeartbeat.h"
#include "base/Pool.h"
#include "fakes/HttpTransportFake.h"
#include "fakes/SystemMemoryFake.h"
#include "support/Await.h"
#include "support/OneThread.h"
#include "support/TestClock.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <future>
#include <gtest/gtest.h>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

const QByteArray oneModel = R"({"object":"list","data":[{"id":"Qwen/Qwen3-8B"},{"id":"other"}]})";

Task<> keep(Task<std::optional<QByteArray>> task, std::optional<QByteArray>* result) {
    *result = co_await std::move(task);
}

struct LocalLLMTelemetryTest : testing::Test {
    HttpTransportFake transport;
    VennicHTTP http{transport, QStringLiteral("vennic.example"), nullptr};
    SystemMemoryFake memory;
    TestClock clock;
    LocalLLMTelemetry telemetry{http, memory, clock};
    QSet<QString> onDisk;
    LocalLLMHeartbeat heartbeat{telemetry, [this] { return onDisk; }};

    std::string loaded() { return await(telemetry.currentLoadedModel()).value_or(QStringLiteral("-")).toStdString(); }
    QJsonObject beat() { return QJsonDocument::fromJson(await(heartbeat.encodedHeartbeat()).value_or("")).object(); }
    void probe(bool on = true) { await(telemetry.setModelProbeEnabled(on)); }
};

TEST_F(LocalLLMTelemetryTest, theFirstModelOfTheListIsTheLoadedOne) {
    transport.answerWith(200, oneModel);
    EXPECT_EQ(loaded(), "Qwen/Qwen3-8B");
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.url, QUrl(QStringLiteral("http://localhost:8080/v1/models")));
    EXPECT_EQ(request.timeout, 2s);
    EXPECT_TRUE(request.secretHeaders.empty() && request.headers.empty());
    EXPECT_EQ(request.anchors, nullptr);
}

TEST_F(LocalLLMTelemetryTest, aModelIsAskedForOnceAMinute) {
    transport.answerWith(200, oneModel);
    transport.answerWith(200, R"({"data":[{"id":"next"}]})");
    EXPECT_EQ(loaded(), "Qwen/Qwen3-8B");
    clock.advance(59s);
    EXPECT_EQ(loaded(), "Qwen/Qwen3-8B");
    EXPECT_EQ(transport.requests.size(), 1u);
    clock.advance(1s);
    EXPECT_EQ(loaded(), "next");
}

TEST_F(LocalLLMTelemetryTest, anExpiredModelIsNotShownWhenTheProbeFails) {
    transport.answerWith(200, oneModel);
    EXPECT_EQ(loaded(), "Qwen/Qwen3-8B");
    clock.advance(60s);
    EXPECT_EQ(loaded(), "-"); // no answer is left
    EXPECT_EQ(loaded(), "-");
    EXPECT_EQ(transport.requests.size(), 3u) << "the next call asks again";
}

TEST_F(LocalLLMTelemetryTest, aClockThatWasSetBackMakesNoModelFresh) {
    transport.answerWith(200, oneModel);
    EXPECT_EQ(loaded(), "Qwen/Qwen3-8B");
    clock.advance(-1h);
    EXPECT_EQ(loaded(), "-");
}

TEST_F(LocalLLMTelemetryTest, anythingElseThanAListOfModelsIsNoModel) {
    for (const char* body :
         {"", "5", "[]", "{}", R"({"data":null})", R"({"data":{}})", R"({"data":[]})", R"({"data":["x"]})",
          R"({"data":[{"id":"a"},5]})", R"({"data":[{}]})", R"({"data":[{"id":5}]})", R"({"data":[{"id":null}]})"}) {
        transport.answerWith(200, body);
        EXPECT_EQ(loaded(), "-") << body;
    }
    const std::size_t before = transport.requests.size();
    for (const int status : {199, 301, 404, 500}) {
        transport.answerWith(status, oneModel);
        EXPECT_EQ(loaded(), "-") << status;
    }
    transport.answerWith(HttpResponse{.status = {}, .headers = {}, .body = oneModel});
    EXPECT_EQ(loaded(), "-");
    for (const TransportFault fault : {TransportFault::refused, TransportFault::timedOut, TransportFault::tooLarge}) {
        transport.failWith(fault);
        EXPECT_EQ(loaded(), "-");
    }
    EXPECT_EQ(transport.requests.size(), before + 8);
}

TEST_F(LocalLLMTelemetryTest, aNameThatFitsNoHeaderIsNotBelieved) {
    transport.answerWith(200, R"({"data":[{"id":")" + QByteArray(513, 'x') + "\"}]}");
    EXPECT_EQ(loaded(), "-");
    transport.answerWith(200, R"({"data":[{"id":")" + QByteArray(512, 'x') + "\"}]}");
    EXPECT_EQ(loaded().size(), 512u);
}

TEST_F(LocalLLMTelemetryTest, anEndpointThatIsNoAddressIsNotAsked) {
    await(telemetry.setEndpoint(QStringLiteral("pas une adresse")));
    EXPECT_EQ(loaded(), "-");
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(LocalLLMTelemetryTest, anotherServerIsNotCreditedWithTheOldModel) {
    transport.answerWith(200, oneModel);
    EXPECT_EQ(loaded(), "Qwen/Qwen3-8B");
    clock.advance(5s);
    await(telemetry.setEndpoint(QStringLiteral("http://127.0.0.1:9/v1")));
    transport.answerWith(200, R"({"data":[{"id":"next"}]})");
    EXPECT_EQ(loaded(), "next");
    EXPECT_EQ(transport.requests.at(1).url, QUrl(QStringLiteral("http://127.0.0.1:9/v1/models")));
}

TEST_F(LocalLLMTelemetryTest, anAnswerThatComesAfterTheServerWasReplacedIsNobodys) {
    transport.hold();
    transport.answerWith(200, oneModel);
    Scope scope;
    bool ended = false;
    std::optional<QString> model;
    struct Asking {
        static Task<> ask(LocalLLMTelemetry* telemetry, std::optional<QString>* model, bool* ended) {
            *model = co_await telemetry->currentLoadedModel();
            *ended = true;
        }
    };
    scope.start(Asking::ask(&telemetry, &model, &ended));
    ASSERT_TRUE(waitUntil([&] { return transport.waiting() == 1; }));
    await(telemetry.setEndpoint(QStringLiteral("http://127.0.0.1:9/v1")));
    transport.release();
    ASSERT_TRUE(waitUntil([&] { return ended; }));
    EXPECT_FALSE(model);
    transport.answerWith(200, R"({"data":[{"id":"next"}]})");
    EXPECT_EQ(loaded(), "next");
}

TEST_F(LocalLLMTelemetryTest, theSpeedIsSmoothed) {
    EXPECT_FALSE(telemetry.tokPerSecEMA());
    telemetry.generationEnded(100, 1000);
    EXPECT_EQ(telemetry.tokPerSecEMA(), 100.0);
    telemetry.generationEnded(50, 1000);
    EXPECT_DOUBLE_EQ(telemetry.tokPerSecEMA().value_or(0), 85.0);
    for (const auto& [tokens, latency] : {std::pair{0, 1000}, std::pair{100, 0}, std::pair{-5, 1000}, std::pair{5, -1}})
        telemetry.generationEnded(tokens, latency);
    EXPECT_DOUBLE_EQ(telemetry.tokPerSecEMA().value_or(0), 85.0);
    await(telemetry.setEndpoint(QStringLiteral("http://127.0.0.1:9/v1")));
    probe(false);
    EXPECT_DOUBLE_EQ(telemetry.tokPerSecEMA().value_or(0), 85.0) << "it survives everything but the process";
}

TEST_F(LocalLLMTelemetryTest, memoryIsToldInGibibytes) {
    EXPECT_EQ(telemetry.ramSnapshot(), (LocalLLMTelemetry::RamSnapshot{.used = 6.0, .total = 16.0}));
    memory.told.used.reset();
    EXPECT_EQ(telemetry.ramSnapshot(), (LocalLLMTelemetry::RamSnapshot{.used = {}, .total = 16.0}));
}

TEST_F(LocalLLMTelemetryTest, theHeartbeatTellsAllThatIsKnown) {
    probe();
    onDisk = {QStringLiteral("b/two"), QStringLiteral("a/one")};
    telemetry.generationEnded(100, 1000);
    transport.answerWith(200, oneModel);
    EXPECT_EQ(await(heartbeat.encodedHeartbeat()),
              QByteArray(R"({"downloaded_models":["a/one","b/two"],"loaded_model":"Qwen/Qwen3-8B","ram_total_gb":16,)"
                         R"("ram_used_gb":6,"tok_per_sec_recent":100})"));
}

TEST_F(LocalLLMTelemetryTest, switchedOffTheHeartbeatAsksNobodyAndTellsTheRest) {
    transport.answerWith(200, oneModel);
    onDisk = {QStringLiteral("a/one")};
    telemetry.generationEnded(100, 1000);
    const QJsonObject told = beat();
    EXPECT_TRUE(transport.requests.empty());
    EXPECT_EQ(told.keys(), (QStringList{QStringLiteral("downloaded_models"), QStringLiteral("ram_total_gb"),
                                        QStringLiteral("ram_used_gb"), QStringLiteral("tok_per_sec_recent")}));
}

TEST_F(LocalLLMTelemetryTest, aDiskThatIsSlowToTellOfItsModelsHoldsUpNoOtherWork) {
    const OneThread small;
    std::promise<void> answers;
    const std::shared_future<void> answer = answers.get_future().share();
    LocalLLMHeartbeat slow{telemetry, [answer] {
                               answer.wait();
                               return QSet<QString>{QStringLiteral("a/one")};
                           }};
    Scope scope;
    std::optional<QByteArray> told;
    scope.start(keep(slow.encodedHeartbeat(), &told));
    EXPECT_EQ(await(onPool([] { return 1; })), 1);
    EXPECT_FALSE(told);
    answers.set_value();
    ASSERT_TRUE(waitUntil([&] { return told.has_value(); }));
    EXPECT_TRUE(told->contains("a/one"));
}

TEST_F(LocalLLMTelemetryTest, switchingOffForgetsTheModel) {
    probe();
    transport.answerWith(200, oneModel);
    EXPECT_EQ(beat().value(QLatin1String("loaded_model")), QLatin1String("Qwen/Qwen3-8B"));
    probe(false);
    probe(true);
    EXPECT_FALSE(beat().contains(QLatin1String("loaded_model"))) << "the server no longer answers";
    EXPECT_EQ(transport.requests.size(), 2u);
}

TEST_F(LocalLLMTelemetryTest, whatIsNotKnownIsLeftOut) {
    memory.told = {};
    EXPECT_EQ(await(heartbeat.encodedHeartbeat()), QByteArray("{}"));
}

TEST_F(LocalLLMTelemetryTest, aServerWithoutAModelIsAskedOnEachPoll) {
    probe();
    for (int poll = 0; poll < 3; ++poll) {
        transport.answerWith(200, R"({"data":[]})");
        EXPECT_FALSE(beat().contains(QLatin1String("loaded_model")));
    }
    EXPECT_EQ(transport.requests.size(), 3u);
}

TEST(BridgeHeartbeat, aDiskFullOfModelsStaysWithinAHeader) {
    BridgeHeartbeat heartbeat;
    heartbeat.loaded_model = QStringLiteral("a/b");
    QStringList models;
    for (int number = 0; number < 1000; ++number)
        models.append(QStringLiteral("owner/modèle-%1").arg(number));
    heartbeat.downloaded_models = models;
    const QByteArray encoded = heartbeat.encode();
    EXPECT_LE(encoded.size(), 4096);
    EXPECT_GT(encoded.size(), 3000);
    const QJsonArray kept =
        QJsonDocument::fromJson(encoded).object().value(QLatin1String("downloaded_models")).toArray();
    EXPECT_EQ(kept.first(), QStringLiteral("owner/modèle-0"));
    heartbeat.downloaded_models = QStringList{QString(5000, u'x')};
    EXPECT_EQ(heartbeat.encode(), QByteArray(R"({"loaded_model":"a/b"})"));
}

} // namespace
} // namespace vennic::test
