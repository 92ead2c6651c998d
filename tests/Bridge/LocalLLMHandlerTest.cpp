#include "Bridge/LocalLLMHandlerFixture.h"
#include "support/LogLines.h"

#include <QRegularExpression>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

using LocalLLMHandlerTest = LocalLLMHandlerFixture;

TEST_F(LocalLLMHandlerTest, textIsStreamedAndTheEndIsOneAssembledAnswer) {
    start();
    say(chunks::text("Bon"));
    say(chunks::text("jour"));
    say(chunks::finish("stop"));
    world.clock.advance(2s);
    server.say(chunks::usage(11, 4) + chunks::done());
    ASSERT_TRUE(ended());

    EXPECT_EQ(deltas(), (std::vector<std::string>{"Bon", "jour"}));
    EXPECT_EQ(world.backend.updates.back().path, QStringLiteral("/api/v1/bridge/tasks/t1"));
    EXPECT_EQ(result().value(QLatin1String("model_used")), QLatin1String("Qwen/Qwen3-14B-MLX-4bit"));
    EXPECT_EQ(result().value(QLatin1String("latency_ms")), 2000);
    QStringList keys = response().keys();
    EXPECT_EQ(keys, (QStringList{QStringLiteral("choices"), QStringLiteral("id"), QStringLiteral("model"),
                                 QStringLiteral("object"), QStringLiteral("usage")}));
    EXPECT_EQ(response().value(QLatin1String("object")), QLatin1String("chat.completion"));
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^chatcmpl-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"))
                    .match(response().value(QLatin1String("id")).toString())
                    .hasMatch());
    EXPECT_EQ(choice().value(QLatin1String("index")), 0);
    EXPECT_EQ(choice().value(QLatin1String("finish_reason")), QLatin1String("stop"));
    EXPECT_EQ(message(), (QJsonObject{{QStringLiteral("role"), QStringLiteral("assistant")},
                                      {QStringLiteral("content"), QStringLiteral("Bonjour")}}));
    EXPECT_EQ(response().value(QLatin1String("usage")), QJsonValue(QJsonObject{{QStringLiteral("prompt_tokens"), 11},
                                                                               {QStringLiteral("completion_tokens"), 4},
                                                                               {QStringLiteral("total_tokens"), 15}}));
    EXPECT_EQ(world.telemetry.tokPerSecEMA(), 2.0);
}

TEST_F(LocalLLMHandlerTest, theRequestIsTheBackendsWithStreamingAskedFor) {
    server.end();
    start(R"({"model":"local","stream":false,"stream_options":5,"temperature":0.7,"tools":[{"a":1}],"n":null})");
    ASSERT_TRUE(ended());
    const HttpRequest& request = world.backend.opened.at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, QUrl(QStringLiteral("http://localhost:8080/v1/chat/completions")));
    EXPECT_EQ(request.headers,
              (std::vector<HttpHeader>{{"Content-Type", "application/json"}, {"Accept", "text/event-stream"}}));
    EXPECT_TRUE(request.secretHeaders.empty());
    EXPECT_EQ(request.anchors, nullptr);
    EXPECT_EQ(request.timeout, 240s);
    EXPECT_GE(request.deadline, 2h) << "a slow model may write for long";
    const QByteArray expected = R"({"model":"Qwen/Qwen3-14B-MLX-4bit","n":null,"stream":true,)"
                                R"("stream_options":{"include_usage":true},"temperature":0.7,"tools":[{"a":1}]})";
    EXPECT_EQ(QJsonDocument::fromJson(*request.body), QJsonDocument::fromJson(expected));
}

TEST_F(LocalLLMHandlerTest, aModelWithAnOwnerIsTheBackendsChoiceAnyOtherTheUsers) {
    EXPECT_EQ(modelFor(R"({"model":"mlx-community/Qwen3-8B-4bit"})"), "mlx-community/Qwen3-8B-4bit");
    EXPECT_EQ(modelFor(R"({"model":"local"})"), "Qwen/Qwen3-14B-MLX-4bit");
    EXPECT_EQ(modelFor("{}"), "Qwen/Qwen3-14B-MLX-4bit");
    EXPECT_EQ(modelFor(R"({"model":5})"), "Qwen/Qwen3-14B-MLX-4bit");
    world.context.localModel.model.clear();
    EXPECT_EQ(modelFor("{}"), "");
}

TEST_F(LocalLLMHandlerTest, aBodyThatIsAListGoesOutAsItStands) {
    server.say("{\"object\":\"list\"}");
    server.end();
    start(R"([ {"model":"a/b"} ])");
    ASSERT_TRUE(ended());
    EXPECT_EQ(world.backend.opened.at(0).body, QByteArray(R"([ {"model":"a/b"} ])"));
    EXPECT_EQ(updates(), 1u);
    EXPECT_EQ(message().value(QLatin1String("content")), QLatin1String(""));
    EXPECT_EQ(choice().value(QLatin1String("finish_reason")), QLatin1String("stop"));
}

TEST_F(LocalLLMHandlerTest, onlyToolCallsAreNoUpdateAtAll) {
    const LogLines log;
    server.say(chunks::calls(R"({"index":1,"id":"b","function":{"name":"lire","arguments":"{}"}})") +
               chunks::calls(R"({"index":0,"function":{"arguments":""}})") + chunks::done());
    start();
    ASSERT_TRUE(ended());
    EXPECT_EQ(updates(), 1u);
    EXPECT_TRUE(log.matching("first-token").isEmpty());
    EXPECT_EQ(choice().value(QLatin1String("finish_reason")), QLatin1String("tool_calls"));
    EXPECT_EQ(message().value(QLatin1String("content")), QLatin1String(""));
    const QJsonArray calls = message().value(QLatin1String("tool_calls")).toArray();
    ASSERT_EQ(calls.size(), 2);
    const QString id = calls.at(0).toObject().value(QLatin1String("id")).toString();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^call_[0-9A-F]{8}$")).match(id).hasMatch()) << id.toStdString();
    EXPECT_EQ(calls.at(0), QJsonValue(QJsonObject{
                               {QStringLiteral("id"), id},
                               {QStringLiteral("type"), QStringLiteral("function")},
                               {QStringLiteral("function"), QJsonObject{{QStringLiteral("name"), QString()},
                                                                        {QStringLiteral("arguments"), QString()}}}}))
        << "a call without a name stays, and arguments stay empty";
    EXPECT_EQ(calls.at(1).toObject().value(QLatin1String("id")), QLatin1String("b"));
}

TEST_F(LocalLLMHandlerTest, whatTheServerSaysOfTheEndStands) {
    server.say(chunks::calls(R"({"index":0,"id":"a"})") + chunks::finish("length") + chunks::done());
    start();
    ASSERT_TRUE(ended());
    EXPECT_EQ(choice().value(QLatin1String("finish_reason")), QLatin1String("length"));
}

TEST_F(LocalLLMHandlerTest, theFirstPieceLeavesAtOnceAndTheRestInBatches) {
    start();
    say(chunks::text("a")); // alone
    for (int count = 0; count < 9; ++count)
        say(chunks::text("bc"));
    say(chunks::text("d")); // 19 characters are pending
    EXPECT_EQ(deltas(), (std::vector<std::string>{"a"}));
    say(chunks::text("e")); // the twentieth
    EXPECT_EQ(deltas(), (std::vector<std::string>{"a", "bcbcbcbcbcbcbcbcbcde"}));
    say(chunks::text("f"));
    server.end();
    ASSERT_TRUE(ended());
    EXPECT_EQ(deltas(), (std::vector<std::string>{"a", "bcbcbcbcbcbcbcbcbcde", "f"}));
}

TEST_F(LocalLLMHandlerTest, whatIsPendingLeavesWithThePieceThatComesAfterAWhile) {
    start();
    say(chunks::text("a"));
    world.clock.advance(49ms);
    say(chunks::text("b"));
    EXPECT_EQ(deltas().size(), 1u);
    world.clock.advance(10s); // no timer runs
    EXPECT_EQ(deltas().size(), 1u);
    say(chunks::text("c"));
    EXPECT_EQ(deltas(), (std::vector<std::string>{"a", "bc"}));
    world.clock.advance(49ms);
    say(chunks::text("d"));
    EXPECT_EQ(deltas().size(), 2u) << "the time counts from the last update";
    world.clock.advance(1ms);
    say(chunks::text("e"));
    EXPECT_EQ(deltas(), (std::vector<std::string>{"a", "bc", "de"}));
}

TEST_F(LocalLLMHandlerTest, theFirstPieceDoesNotMoveTheTimeOfTheLastUpdate) {
    start();
    ASSERT_TRUE(readUp());
    world.clock.advance(50ms); // the model thinks
    say(chunks::text("a"));
    say(chunks::text("b"));
    EXPECT_EQ(deltas(), (std::vector<std::string>{"a", "b"}));
}

TEST_F(LocalLLMHandlerTest, charactersAreCountedAsPeopleCountThem) {
    start();
    say(chunks::text("a"));
    say(chunks::text(QByteArray("é").repeated(19)));
    EXPECT_EQ(deltas().size(), 1u);
    say(chunks::text("👩‍👩‍👧"));
    EXPECT_EQ(deltas().size(), 2u);
}

TEST_F(LocalLLMHandlerTest, readingWaitsForTheUpdateThatIsUnderWay) {
    world.backend.holdUpdates = true;
    server.say(chunks::text("a"));
    for (int count = 0; count < 10; ++count)
        server.say(chunks::text("b"));
    start();
    ASSERT_TRUE(waitUntil([this] { return world.backend.openUpdates() == 1; }));
    EXPECT_EQ(server.left(), 10u) << "nothing is taken from the wire meanwhile";
    world.backend.holdUpdates = false;
    world.backend.answerUpdate(HttpResponse{.status = 200, .headers = {}, .body = {}});
    EXPECT_TRUE(readUp());
}

TEST_F(LocalLLMHandlerTest, anUpdateThatIsRefusedIsDroppedAndTheRelayGoesOn) {
    world.backend.preparedUpdates = {TransportFault::cutOff, HttpResponse{.status = 500, .headers = {}, .body = "no"}};
    start();
    say(chunks::text("a"));
    say(chunks::text("bbbbbbbbbbbbbbbbbbbb"));
    server.say(chunks::done());
    ASSERT_TRUE(ended());
    EXPECT_EQ(updates(), 3u);
    EXPECT_EQ(message().value(QLatin1String("content")), QLatin1String("abbbbbbbbbbbbbbbbbbbb"));
}

TEST_F(LocalLLMHandlerTest, withoutAUsageRecordTheUsageIsZeroAndTheSpeedStays) {
    world.telemetry.generationEnded(10, 1000);
    start();
    say(chunks::text("a"));
    world.clock.advance(1s);
    server.end();
    ASSERT_TRUE(ended());
    EXPECT_EQ(response().value(QLatin1String("usage")).toObject().value(QLatin1String("total_tokens")), 0);
    EXPECT_EQ(world.telemetry.tokPerSecEMA(), 10.0);
}

TEST_F(LocalLLMHandlerTest, numbersThatNoServerCountsToDoNotOverflow) {
    server.say(
        chunks::line(R"({"usage":{"prompt_tokens":9223372036854775807,"completion_tokens":9223372036854775807}})"));
    server.end();
    start();
    ASSERT_TRUE(ended());
    EXPECT_EQ(response().value(QLatin1String("usage")).toObject().value(QLatin1String("total_tokens")).toInteger(),
              std::numeric_limits<qint64>::max());
}

TEST_F(LocalLLMHandlerTest, switchedOffItSaysSo) {
    world.context.localModel.enabled = false;
    start();
    EXPECT_EQ(failure(), "Le LLM local est désactivé dans les Réglages du Mac.");
    EXPECT_TRUE(world.backend.opened.empty());
}

TEST_F(LocalLLMHandlerTest, anEndpointThatIsNoAddressIsNamed) {
    for (const char* endpoint :
         {"", "pas une adresse", "localhost:8080/v1", "http://", "http://a b", "http://[", "ftp://a"}) {
        world.backend.updates.clear();
        world.context.localModel.endpoint = QString::fromUtf8(endpoint);
        start();
        EXPECT_EQ(failure(), std::string("URL du LLM local invalide : ") + endpoint);
    }
    EXPECT_TRUE(world.backend.opened.empty());
}

TEST_F(LocalLLMHandlerTest, anEndpointIsNotTidied) {
    world.context.localModel.endpoint = QStringLiteral("http://127.0.0.1:9/v1/");
    server.end();
    start();
    ASSERT_TRUE(ended());
    EXPECT_EQ(world.backend.opened.at(0).url.path(), QStringLiteral("/v1//chat/completions"));
}

TEST_F(LocalLLMHandlerTest, aBodyThatCannotBeReadIsRefused) {
    for (const char* body : {"", "{", "5", "null", "bonjour"}) {
        world.backend.updates.clear();
        start(body);
        EXPECT_EQ(failure(), "Corps OpenAI invalide : Données illisibles : le texte reçu n'est pas du JSON.");
    }
    world.backend.updates.clear();
    start(QStringLiteral("{\"a\":\"%1\"}").arg(QChar(0xd800)));
    EXPECT_EQ(failure(), "Corps OpenAI invalide : payload non UTF-8");
    EXPECT_TRUE(world.backend.opened.empty());
}

TEST_F(LocalLLMHandlerTest, aServerThatIsNotThereIsNamedWithItsReason) {
    world.backend.localServer = nullptr;
    start();
    EXPECT_EQ(failure(), "Serveur local injoignable : Le serveur a refusé la connexion.");
}

TEST_F(LocalLLMHandlerTest, whatIsNotHttpIsInvalid) {
    serve(HttpStreamScript(std::nullopt));
    start();
    EXPECT_EQ(failure(), "Réponse invalide du serveur local.");
}

TEST_F(LocalLLMHandlerTest, aRefusalIsQuotedWithoutItsLineEnds) {
    server = HttpStreamScript(404);
    serve(server);
    server.say("model\nnot ");
    server.say("found\r\n");
    server.end();
    start();
    EXPECT_EQ(failure(), "Serveur local HTTP 404 : modelnot found");
}

TEST_F(LocalLLMHandlerTest, aLongRefusalIsCutBehindALine) {
    server = HttpStreamScript(500);
    serve(server);
    for (int count = 0; count < 100; ++count)
        server.say(QByteArray(100, 'x') + '\n');
    start();
    EXPECT_EQ(failure(), "Serveur local HTTP 500 : " + std::string(600, 'x'));
    EXPECT_TRUE(server.isClosed());
}

TEST_F(LocalLLMHandlerTest, aRefusalThatBreaksOffLosesItsStatus) {
    server = HttpStreamScript(500);
    serve(server);
    server.say("half");
    server.fail(TransportFault::cutOff);
    start();
    EXPECT_EQ(failure(), "Serveur local injoignable : La connexion au serveur a été coupée.");
}

TEST_F(LocalLLMHandlerTest, aStreamThatBreaksIsAnErrorAfterWhatCame) {
    start();
    say(chunks::text("Bon"));
    say(chunks::text("jour"));
    server.fail(TransportFault::cutOff);
    EXPECT_EQ(failure(), "Serveur local injoignable : La connexion au serveur a été coupée.");
    EXPECT_EQ(deltas(), (std::vector<std::string>{"Bon"})) << "what was pending is no result";
    EXPECT_FALSE(world.telemetry.tokPerSecEMA());
}

TEST_F(LocalLLMHandlerTest, anEndlessLineIsGivenUp) {
    start();
    for (int count = 0; count < 20; ++count)
        server.say(QByteArray(qsizetype{64} * 1024, 'x'));
    EXPECT_EQ(failure(), "Serveur local injoignable : La réponse du serveur est trop volumineuse.");
    EXPECT_TRUE(server.isClosed());
}

TEST_F(LocalLLMHandlerTest, aFinalReportThatIsRefusedIsToldOnceMore) {
    world.backend.preparedUpdates = {HttpResponse{.status = 503, .headers = {}, .body = "plein"}};
    server.end();
    start();
    ASSERT_TRUE(ended());
    ASSERT_EQ(updates(), 2u);
    EXPECT_EQ(update(0).value(QLatin1String("status")), QLatin1String("done"));
    EXPECT_EQ(update(1).value(QLatin1String("error_message")).toString(),
              QStringLiteral("Serveur local injoignable : Erreur HTTP 503 : plein"));
}

TEST_F(LocalLLMHandlerTest, anErrorThatCannotBeSentEndsTheTask) {
    world.backend.localServer = nullptr;
    world.backend.preparedUpdates = {TransportFault::cutOff};
    start();
    ASSERT_TRUE(ended());
    EXPECT_EQ(updates(), 1u);
}

TEST_F(LocalLLMHandlerTest, whoIsCancelledLeavesAtOnceAndSaysNothing) {
    start();
    say(chunks::text("a"));
    job.cancel();
    ASSERT_TRUE(ended());
    EXPECT_TRUE(server.isClosed());
    EXPECT_EQ(updates(), 1u);
}

TEST_F(LocalLLMHandlerTest, theLastWordClosesTheStream) {
    server.say(chunks::text("a") + chunks::done() + chunks::text("b"));
    start();
    ASSERT_TRUE(ended());
    EXPECT_TRUE(server.isClosed());
    EXPECT_EQ(message().value(QLatin1String("content")), QLatin1String("a"));
}

TEST_F(LocalLLMHandlerTest, theLatencyIsWholeMilliseconds) {
    start();
    say(chunks::text("a"));
    world.clock.advance(1999ms + 999us);
    server.end();
    ASSERT_TRUE(ended());
    EXPECT_EQ(result().value(QLatin1String("latency_ms")), 1999);
}

TEST_F(LocalLLMHandlerTest, aHundredThousandPiecesPassAndNoneIsLost) {
    const QByteArray piece = chunks::text("mot ");
    server.say(piece.repeated(50'000));
    server.say(piece.repeated(50'000));
    server.say(chunks::usage(1, 100'000) + chunks::done());
    start();
    ASSERT_TRUE(waitUntil([this] { return jobs.size() == 0; }, 50s));
    QString streamed;
    for (const auto& sent : world.backend.updates)
        streamed += sent.body.value(QLatin1String("delta")).toString();
    EXPECT_EQ(streamed, QStringLiteral("mot ").repeated(100'000));
    EXPECT_EQ(updates(), 1u + (99'999 + 4) / 5 + 1u) << "five pieces are twenty characters";
    EXPECT_EQ(message().value(QLatin1String("content")).toString().size(), 400'000);
}

} // namespace
} // namespace vennic::test
