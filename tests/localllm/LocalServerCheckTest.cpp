#include "localllm/LocalServerCheck.h"

#include "support/Await.h"
#include "support/ScriptedBackend.h"
#include "support/TestClock.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;
using test::await;

const QString endpoint = QStringLiteral("http://localhost:8080/v1");
const QString model = QStringLiteral("Qwen/Qwen3-4B");

struct LocalServerCheckTest : testing::Test, test::ScriptedBackend {
    test::TestClock clock;

    LocalServerAnswer check() {
        return await(checkLocalServer(&http, QUrl(QStringLiteral("http://localhost:8080/v1/models"))));
    }
    InferenceTestResult tryOut(const QString& at = endpoint) { return await(testInference(&http, &clock, at, model)); }
    void takes(std::chrono::nanoseconds time, int status, const QByteArray& body) {
        transport.responder = [=, this](const HttpRequest&) {
            clock.advance(time);
            return HttpResponse{status, {}, body};
        };
    }
};

TEST(HealthStatus, hasALabelForEachCase) {
    EXPECT_EQ(HealthStatus::unknown().label(), QStringLiteral("Non vérifié"));
    EXPECT_EQ(HealthStatus::checking().label(), QStringLiteral("Vérification…"));
    EXPECT_EQ(HealthStatus::ok().label(), QStringLiteral("Serveur en ligne"));
    EXPECT_EQ(HealthStatus::down(QStringLiteral("HTTP 503")).label(), QStringLiteral("Hors ligne : HTTP 503"));
}

// The check

TEST_F(LocalServerCheckTest, asksForTheModelsWithFiveSecondsOfPatienceAndWithoutCredentials) {
    transport.answerWith(200, R"({"data":[{"id":"b"},{"object":"model"},{"id":7},{"id":"a"}]})");
    EXPECT_EQ(check(), (LocalServerAnswer{HealthStatus::ok(), {QStringLiteral("b"), QStringLiteral("a")}}));
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.url.toString(), QStringLiteral("http://localhost:8080/v1/models"));
    EXPECT_EQ(request.timeout, 5s);
    EXPECT_EQ(request.deadline, 5s) << "also of a server that drips";
    EXPECT_EQ(request.maxAnswerBytes, 4 * 1024 * 1024);
    EXPECT_TRUE(request.headers.empty());
    EXPECT_TRUE(request.secretHeaders.empty());
}

TEST_F(LocalServerCheckTest, aStatusThatIsNoSuccessIsTheReason) {
    transport.answerWith(503, R"({"data":[{"id":"a"}]})");
    EXPECT_EQ(check(), (LocalServerAnswer{HealthStatus::down(QStringLiteral("HTTP 503"))}));
    transport.answerWith(199);
    EXPECT_EQ(check().health, HealthStatus::down(QStringLiteral("HTTP 199")));
    transport.answerWith(302);
    EXPECT_EQ(check().health, HealthStatus::down(QStringLiteral("HTTP 302")));
    transport.answerWith(299);
    EXPECT_EQ(check().health, HealthStatus::ok());
}

TEST_F(LocalServerCheckTest, aFailureOfTheTransportIsTheReasonInItsOwnWords) {
    for (const auto fault : {TransportFault::refused, TransportFault::timedOut, TransportFault::tooLarge}) {
        transport.failWith(fault);
        EXPECT_EQ(check().health, HealthStatus::down(transportFaultText(fault)));
    }
    transport.answerWith(HttpResponse{std::nullopt, {}, "garbage"});
    EXPECT_EQ(check().health, HealthStatus::down(transportFaultText(TransportFault::badAnswer)));
}

TEST_F(LocalServerCheckTest, aBodyThatIsNotWhatWasAskedForStillCountsAsUp) {
    for (const char* body : {"", "pas du JSON", "[]", "{}", R"({"data":{}})", R"({"data":null})", R"({"data":["a"]})",
                             R"({"data":[{"id":"a"},"b"]})", R"({"data":[{"id":"a"}])", "\xff\xfe"}) {
        transport.answerWith(200, body);
        EXPECT_EQ(check(), (LocalServerAnswer{HealthStatus::ok(), {}})) << body;
    }
}

TEST(ListedModels, areNoMoreThanSomebodyWouldRead) {
    QByteArray body = R"({"data":[)";
    for (int i = 0; i < 100'000; ++i)
        body += (i == 0 ? "" : ",") + QByteArray(R"({"id":"m)") + QByteArray::number(i) + R"("})";
    const QStringList models = listedModels(body + "]}");
    ASSERT_EQ(models.size(), 200);
    EXPECT_EQ(models.first(), QStringLiteral("m0"));
    EXPECT_EQ(models.last(), QStringLiteral("m199"));
}

TEST(ListedModels, passOverAnIdentifierThatIsTooLong) {
    EXPECT_EQ(listedModels(R"({"data":[{"id":")" + QByteArray(513, 'x') + R"("},{"id":"a"}]})"),
              QStringList{QStringLiteral("a")});
}

TEST(ListedModels, areNoneWhereTheBodyIsTooDeep) {
    const int depth = 200'000;
    EXPECT_TRUE(listedModels(R"({"data":[{"id":)" + QByteArray(depth, '[') + QByteArray(depth, ']') + "}]}").isEmpty());
}

// The test of the inference

TEST_F(LocalServerCheckTest, theTestHasTheModelSayHelloInOnePiece) {
    takes(1234567us, 200, R"({"choices":[{"message":{"content":"Bonjour !"}}]})");
    EXPECT_EQ(tryOut(), (InferenceTestResult{.output = QStringLiteral("✓ 1234 ms — Bonjour !")}));
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url.toString(), QStringLiteral("http://localhost:8080/v1/chat/completions"));
    EXPECT_EQ(request.timeout, 60s);
    EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Content-Type", "application/json"}}));
    EXPECT_TRUE(request.secretHeaders.empty());
    const QJsonObject expected = QJsonDocument::fromJson(R"({
        "model": "Qwen/Qwen3-4B",
        "messages": [{"role": "system", "content": "Réponds en une phrase très courte."},
                     {"role": "user", "content": "Dis bonjour en français. /no_think"}],
        "max_tokens": 64, "temperature": 0.2})")
                                     .object();
    EXPECT_EQ(QJsonDocument::fromJson(request.body.value_or(QByteArray())).object(), expected);
}

TEST_F(LocalServerCheckTest, anAnswerThatCannotBeReadIsStillAnAnswer) {
    for (const char* body : {"", "{}", R"({"choices":[]})", R"({"choices":[{"message":{"content":null}}]})",
                             R"({"choices":["a"]})", R"({"choices":[{"message":"a"}]})"}) {
        takes(7ms, 200, body);
        EXPECT_EQ(tryOut(), (InferenceTestResult{.output = QStringLiteral("✓ 7 ms (réponse non décodée)")})) << body;
    }
    takes(0ms, 200, R"({"choices":[{"message":{"content":""}}]})");
    EXPECT_EQ(tryOut().output, QStringLiteral("✓ 0 ms — "));
}

TEST_F(LocalServerCheckTest, aRefusalIsShownWithItsBody) {
    takes(3ms, 404, R"({"error":"modèle inconnu"})");
    EXPECT_EQ(tryOut(), (InferenceTestResult{.error = QStringLiteral("HTTP 404 : {\"error\":\"modèle inconnu\"}")}));
}

TEST_F(LocalServerCheckTest, anAnswerIsCutWhereNobodyReadsOn) {
    takes(0ms, 500, QByteArray(1'000'000, 'x'));
    EXPECT_EQ(tryOut().error.size(), 4001);
    takes(0ms, 200, R"({"choices":[{"message":{"content":")" + QByteArray(1'000'000, 'x') + R"("}}]})");
    EXPECT_LT(tryOut().output.size(), 4100);
    EXPECT_TRUE(tryOut().output.endsWith(u'…'));
}

TEST_F(LocalServerCheckTest, whatTheServerSaidIsDrawableAndNotCutWithinACharacter) {
    takes(0ms, 502, "<html>\r\n\t<b>\x1b[2J\xe2\x80\xa9\xe2\x80\xae");
    EXPECT_EQ(tryOut().error, QStringLiteral("HTTP 502 : <html>\n\t<b>\uFFFD[2J\uFFFD\uFFFD"));
    takes(0ms, 200, R"({"choices":[{"message":{"content":"a\nb\u2029\u202ec\ufdd0\ud83c"}}]})");
    EXPECT_EQ(tryOut().output, QStringLiteral("✓ 0 ms — a\nb\uFFFD\uFFFDc\uFFFD\uFFFD"));
    takes(0ms, 200, R"({"choices":[{"message":{"content":")" + QByteArray(3999, 'x') + R"(🍺🍺"}}]})");
    EXPECT_EQ(tryOut().output, QStringLiteral("✓ 0 ms — ") + QString(3999, u'x') + u'…');
}

TEST_F(LocalServerCheckTest, aTestThatFailsOnTheWayHasItsWords) {
    transport.failWith(TransportFault::timedOut);
    EXPECT_EQ(tryOut(), (InferenceTestResult{.error = transportFaultText(TransportFault::timedOut)}));
    transport.answerWith(HttpResponse{std::nullopt, {}, "garbage"});
    EXPECT_EQ(tryOut(), (InferenceTestResult{.error = transportFaultText(TransportFault::badAnswer)}));
}

TEST_F(LocalServerCheckTest, anAddressThatIsNoneIsAskedNothing) {
    for (const char* address : {"", "localhost:8080", "http://", "ftp://localhost", "http://a b", "file:///etc"})
        EXPECT_EQ(tryOut(QLatin1String(address)), (InferenceTestResult{.error = QStringLiteral("URL invalide")}))
            << address;
    EXPECT_TRUE(transport.requests.empty());
}

} // namespace
} // namespace vennic
