#include "Bridge/LocalLLMTelemetry.h"

#include "Bridge/BridgeHeartbeat.h"
#include "Bridge/LocalLLMHeartbeat.h"
#include "base/Pool.h"
#include "fakes/HttpTransportFake.h"
#include "fakes/SystemMemoryFake.h"
#include "support/Await.h"
#include "support/HungDisk.h"
#include "support/OneThread.h"
#include "support/TestClock.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

const QByteArray oneModel = R"({"object":"list","data":[{"id":"Qwen/Qwen3-8B"},{"id":"other"}]})";

struct LocalLLMTelemetryTest : testing::Test {
    HttpTransportFake transport;
    VennicHTTP http{transport, QStringLiteral("vennic.example"), nullptr};
    SystemMemoryFake memory;
    TestClock clock;
    LocalLLMTelemetry telemetry{http, memory, clock};
    QSet<QString> onDisk;
    LocalLLMHeartbeat heartbeat{telemetry, clock, [this] { return onDisk; }};

    std::string loaded() { return await(telemetry.currentLoadedModel()).value_or(QStringLiteral("-")).toStdString(); }
    static Task<> ask(LocalLLMTelemetry* telemetry, std::optional<QString>* model) {
        *model = co_await telemetry->currentLoadedModel();
    }
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
    EXPECT_EQ(request.deadline, 2s) << "for the whole answer, however it drips";
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

TEST_F(LocalLLMTelemetryTest, whoAsksMeanwhileWaitsForTheSameAnswer) {
    transport.hold();
    transport.answerWith(200, oneModel);
    Scope jobs;
    std::array<std::optional<QString>, 3> models;
    for (auto& model : models)
        jobs.start(ask(&telemetry, &model));
    ASSERT_TRUE(waitUntil([&] { return transport.waiting() == 1; }));
    std::optional<QString> ofCancelled;
    Job cancelled = jobs.start(ask(&telemetry, &ofCancelled));
    cancelled.cancel();
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 3; }));
    transport.release();
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
    EXPECT_EQ(models,
              (std::array<std::optional<QString>, 3>{QStringLiteral("Qwen/Qwen3-8B"), QStringLiteral("Qwen/Qwen3-8B"),
                                                     QStringLiteral("Qwen/Qwen3-8B")}));
    EXPECT_FALSE(ofCancelled);
    EXPECT_EQ(transport.requests.size(), 1u);
}

TEST_F(LocalLLMTelemetryTest, whoAsksFirstAndLeavesTakesNoAnswerFromTheOthers) {
    transport.hold();
    transport.answerWith(200, oneModel);
    Scope jobs;
    std::optional<QString> first;
    std::optional<QString> second;
    Job job = jobs.start(ask(&telemetry, &first));
    jobs.start(ask(&telemetry, &second));
    ASSERT_TRUE(waitUntil([&] { return transport.waiting() == 1; }));
    job.cancel();
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 1; }));
    transport.release();
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
    EXPECT_EQ(second, QStringLiteral("Qwen/Qwen3-8B"));
}

TEST_F(LocalLLMTelemetryTest, anotherServerIsAskedAtOnceWhileTheOldOneStillThinks) {
    transport.hold();
    transport.answerWith(200, oneModel);
    Scope jobs;
    std::optional<QString> old;
    std::optional<QString> next;
    jobs.start(ask(&telemetry, &old));
    ASSERT_TRUE(waitUntil([&] { return transport.waiting() == 1; }));
    await(telemetry.setEndpoint(QStringLiteral("http://127.0.0.1:9/v1")));
    transport.answerWith(200, R"({"data":[{"id":"next"}]})");
    jobs.start(ask(&telemetry, &next));
    ASSERT_TRUE(waitUntil([&] { return transport.requests.size() == 2; }));
    EXPECT_EQ(transport.cancelled, 1);
    transport.release();
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
    EXPECT_FALSE(old);
    EXPECT_TRUE(next);
}

TEST_F(LocalLLMTelemetryTest, anAnswerThatComesAfterTheServerWasReplacedIsNobodys) {
    transport.hold();
    transport.answerWith(200, oneModel);
    Scope jobs;
    std::optional<QString> model;
    jobs.start(ask(&telemetry, &model));
    ASSERT_TRUE(waitUntil([&] { return transport.waiting() == 1; }));
    jobs.start(telemetry.setEndpoint(QStringLiteral("http://127.0.0.1:9/v1")));
    transport.release(); // the answer is there, and read only after the change
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
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

/// A heartbeat of a disk that answers its first question and hangs at the second.
struct HungHeartbeatTest : LocalLLMTelemetryTest {
    const OneThread small;
    std::atomic<int> scans = 0;
    HungDisk disk;
    LocalLLMHeartbeat slow{telemetry, clock, [this] {
                               if (++scans > 1)
                                   disk.read();
                               return QSet<QString>{QStringLiteral("owner/model-%1").arg(scans.load())};
                           }};
    Scope jobs;

    static Task<> keep(LocalLLMHeartbeat* heartbeat, QByteArray* told) {
        *told = (co_await heartbeat->encodedHeartbeat()).value_or(QByteArray());
    }
    static QString modelIn(const QByteArray& told) {
        return QJsonDocument::fromJson(told)[QLatin1String("downloaded_models")][0].toString();
    }
    /// What is told after a second in which the disk doesn't answer.
    QString toldInVain() {
        QByteArray told;
        jobs.start(keep(&slow, &told));
        EXPECT_TRUE(waitUntil([&] { return clock.sleeping() == 1 && scans == 2; }));
        EXPECT_TRUE(told.isEmpty());
        clock.advance(1s);
        EXPECT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
        return modelIn(told);
    }
};

TEST_F(HungHeartbeatTest, aDiskThatDoesNotAnswerHoldsUpNoHeartbeat) {
    EXPECT_EQ(modelIn(await(slow.encodedHeartbeat()).value_or("")), QStringLiteral("owner/model-1"));
    EXPECT_EQ(toldInVain(), QStringLiteral("owner/model-1")) << "what is known is told";
    EXPECT_EQ(toldInVain(), QStringLiteral("owner/model-1")) << "and the disk isn't asked a second time meanwhile";
    EXPECT_EQ(await(onPool([] { return 1; })), 1) << "nor does it keep other work from the pool";
    disk.answer();
    EXPECT_EQ(modelIn(await(slow.encodedHeartbeat()).value_or("")), QStringLiteral("owner/model-2"));
    EXPECT_EQ(modelIn(await(slow.encodedHeartbeat()).value_or("")), QStringLiteral("owner/model-3"));
}

TEST_F(HungHeartbeatTest, aHeartbeatThatNobodyWaitsForLeavesNothingBehind) {
    scans = 1;
    QByteArray told;
    Job job = jobs.start(keep(&slow, &told));
    ASSERT_TRUE(waitUntil([&] { return clock.sleeping() == 1 && scans == 2; }));
    job.cancel();
    ASSERT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
    EXPECT_EQ(clock.sleeping(), 0u);
    disk.answer();
    EXPECT_EQ(modelIn(await(slow.encodedHeartbeat()).value_or("")), QStringLiteral("owner/model-2"));
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
