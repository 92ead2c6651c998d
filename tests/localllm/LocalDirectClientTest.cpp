#include "localllm/LocalDirectClient.h"

#include "fakes/HttpStreamScript.h"
#include "fakes/HttpTransportFake.h"
#include "localllm/DirectError.h"
#include "support/Await.h"
#include "support/ChatChunks.h"
#include "support/LoopTurns.h"

#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

const QString endpoint = QStringLiteral("http://localhost:8080/v1");

struct LocalDirectClientTest : testing::Test {
    HttpTransportFake transport;
    VennicHTTP http{transport, QStringLiteral("localhost"), nullptr}; // as if it were the backend's host, too
    std::vector<std::string> deltas;

    LocalDirectClient::Reply chat(const QString& base = endpoint) {
        return await(LocalDirectClient::streamChatRaw(
            &http, base, R"({"model":"m"})", [this](const QString& delta) { deltas.push_back(delta.toStdString()); }));
    }
    LocalDirectClient::Reply answered(const QByteArray& body) {
        transport.answerWith(200, body);
        return chat();
    }
    bool reachable(const QString& base = endpoint) { return await(LocalDirectClient::isReachable(&http, base, 2s)); }
    /// The sentence of the failure.
    std::string failure(const QString& base = endpoint) {
        try {
            chat(base);
        } catch (const LocalizedError& error) {
            return error.errorDescription().toStdString();
        }
        return "no failure";
    }
    static QJsonObject call(const QString& id, const QString& name, const QString& arguments) {
        return {{QStringLiteral("id"), id},
                {QStringLiteral("type"), QStringLiteral("function")},
                {QStringLiteral("function"),
                 QJsonObject{{QStringLiteral("name"), name}, {QStringLiteral("arguments"), arguments}}}};
    }
};

TEST_F(LocalDirectClientTest, aServerThatListsItsModelsIsReachable) {
    transport.answerWith(200, "anything");
    EXPECT_TRUE(reachable());
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.url, QUrl(endpoint + QStringLiteral("/models")));
    EXPECT_EQ(request.timeout, 2s);
    EXPECT_EQ(request.deadline, 2s) << "for the whole answer, however it drips";
    EXPECT_TRUE(request.headers.empty() && request.secretHeaders.empty());
    EXPECT_EQ(request.anchors, nullptr) << "no local call is pinned, whatever the host";
    transport.answerWith(299);
    EXPECT_TRUE(reachable());
}

TEST_F(LocalDirectClientTest, anythingElseIsNot) {
    for (const int status : {199, 300, 401, 404, 500}) {
        transport.answerWith(status);
        EXPECT_FALSE(reachable()) << status;
    }
    transport.answerWith(HttpResponse{.status = {}, .headers = {}, .body = "x"});
    EXPECT_FALSE(reachable());
    transport.failWith(TransportFault::timedOut);
    EXPECT_FALSE(reachable());
    const std::size_t asked = transport.requests.size();
    for (const char* base : {"", "/v1", "localhost:8080/v1", "http://a b", "ftp://localhost"})
        EXPECT_FALSE(reachable(QString::fromUtf8(base))) << base;
    EXPECT_EQ(transport.requests.size(), asked);
}

TEST_F(LocalDirectClientTest, theBodyGoesOutAsItIsAndNoTokenWithIt) {
    answered(chunks::done());
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, QUrl(endpoint + QStringLiteral("/chat/completions")));
    EXPECT_EQ(request.body, QByteArray(R"({"model":"m"})"));
    EXPECT_EQ(request.headers,
              (std::vector<HttpHeader>{{"Content-Type", "application/json"}, {"Accept", "text/event-stream"}}));
    EXPECT_EQ(request.timeout, 240s);
    EXPECT_GE(request.deadline, 2h) << "a slow model may write for long";
    EXPECT_TRUE(request.secretHeaders.empty());
    EXPECT_EQ(request.anchors, nullptr);
}

TEST_F(LocalDirectClientTest, aSlashAtTheEndOfTheEndpointIsDoubled) {
    transport.answerWith(200);
    chat(endpoint + u'/');
    EXPECT_EQ(transport.requests.at(0).url.path(), QStringLiteral("/v1//chat/completions"));
}

TEST_F(LocalDirectClientTest, textComesPieceByPieceAndWhole) {
    const auto reply = answered(chunks::text("Bon") + chunks::text("") + chunks::text("jour") + chunks::done());
    EXPECT_EQ(reply.text, QStringLiteral("Bonjour"));
    EXPECT_TRUE(reply.toolCalls.isEmpty());
    EXPECT_EQ(deltas, (std::vector<std::string>{"Bon", "jour"})) << "an empty piece is none";
}

TEST_F(LocalDirectClientTest, aStreamWithoutALastWordGivesWhatWasGathered) {
    EXPECT_EQ(answered(chunks::text("a") + ": comment\n\nevent: x\ndata: {bad\n\n" + chunks::text("b")).text,
              QStringLiteral("ab"));
    EXPECT_EQ(answered("").text, QString());
}

TEST_F(LocalDirectClientTest, onlyToolCallsAreAnEmptyTextWithoutAnyDelta) {
    const auto reply =
        answered(chunks::calls(R"({"index":1,"id":"b","function":{"name":"lire","arguments":"{\"a\""}})") +
                 chunks::calls(R"({"index":1,"function":{"arguments":":1}"}})") +
                 chunks::calls(R"({"index":0,"id":"a","function":{"name":"lister"}})") + chunks::done());
    EXPECT_TRUE(reply.text.isEmpty());
    EXPECT_TRUE(deltas.empty());
    EXPECT_EQ(reply.toolCalls,
              (QJsonArray{call(QStringLiteral("a"), QStringLiteral("lister"), QStringLiteral("{}")),
                          call(QStringLiteral("b"), QStringLiteral("lire"), QStringLiteral(R"({"a":1})"))}));
}

TEST_F(LocalDirectClientTest, aCallThatNeverGetsANameDisappears) {
    const auto reply = answered(chunks::calls(R"({"index":0,"id":"a","function":{"arguments":"{}"}})") +
                                chunks::calls(R"({"index":1,"id":"b","function":{"name":"lire"}})"));
    ASSERT_EQ(reply.toolCalls.size(), 1);
    EXPECT_EQ(reply.toolCalls.at(0).toObject().value(QLatin1String("id")), QLatin1String("b"));
}

TEST_F(LocalDirectClientTest, aCallWithoutAnIdGetsOneAtTheEnd) {
    const auto reply = answered(chunks::calls(R"({"index":0,"type":"custom","function":{"name":"lire"}})"));
    const QJsonObject made = reply.toolCalls.at(0).toObject();
    const QString id = made.value(QLatin1String("id")).toString();
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^call_[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$")).match(id).hasMatch())
        << id.toStdString();
    EXPECT_EQ(made.value(QLatin1String("type")), QLatin1String("custom"));
}

TEST_F(LocalDirectClientTest, anEndpointThatIsNoAddressIsOffline) {
    for (const char* base : {"", "pas une adresse", "http://", "localhost:8080/v1"})
        EXPECT_EQ(failure(QString::fromUtf8(base)), "Local server offline: invalid endpoint") << base;
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(LocalDirectClientTest, aFailureOfTheWireKeepsItsOwnWords) {
    for (const TransportFault fault : {TransportFault::refused, TransportFault::timedOut, TransportFault::cutOff}) {
        transport.failWith(fault);
        EXPECT_EQ(failure(), transportFaultText(fault).toStdString());
    }
    transport.streamFault = TransportFault::cutOff;
    transport.answerWith(200, chunks::text("half"));
    EXPECT_EQ(failure(), transportFaultText(TransportFault::cutOff).toStdString());
    EXPECT_EQ(deltas, (std::vector<std::string>{"half"}));
    transport.answerWith(500, "half");
    EXPECT_EQ(failure(), transportFaultText(TransportFault::cutOff).toStdString()) << "the status is lost";
}

TEST_F(LocalDirectClientTest, whatIsNotHttpCannotBeRead) {
    transport.answerWith(HttpResponse{.status = {}, .headers = {}, .body = "x"});
    EXPECT_EQ(failure(), "Local server returned an unparseable stream.");
}

TEST_F(LocalDirectClientTest, aRefusalIsQuotedUpToALineEnd) {
    transport.answerWith(404, "model\nnot\r\n\nfound");
    EXPECT_EQ(failure(), "Local server HTTP 404: modelnotfound");
    transport.answerWith(500, (QByteArray(100, 'x') + '\n').repeated(50));
    EXPECT_EQ(failure(), "Local server HTTP 500: " + std::string(600, 'x'));
    transport.answerWith(500, QByteArray(3000, 'y'));
    EXPECT_EQ(failure(), "Local server HTTP 500: " + std::string(3000, 'y')) << "never in the middle of a line";
    transport.answerWith(302);
    EXPECT_EQ(failure(), "Local server HTTP 302: ");
}

TEST_F(LocalDirectClientTest, aRefusalThatTalksWithoutEndKeepsItsStatus) {
    transport.pieceBytes = 64LL * 1024;
    const QByteArray tooLong(mostLineBytes + 1, 'x');
    transport.answerWith(503, tooLong);
    EXPECT_EQ(failure(), "Local server HTTP 503: ");
    transport.answerWith(503, "occupé\n" + tooLong);
    EXPECT_EQ(failure(), "Local server HTTP 503: occupé");
    transport.streamFault = TransportFault::tooLarge; // of the whole answer
    transport.answerWith(503, "occupé\n");
    EXPECT_EQ(failure(), "Local server HTTP 503: occupé");
}

TEST_F(LocalDirectClientTest, theErrorsTellWhichTheyAre) {
    EXPECT_EQ(DirectError::serverUnreachable(QStringLiteral("x")).kind(), DirectError::Case::serverUnreachable);
    EXPECT_EQ(DirectError::httpError(500, {}).kind(), DirectError::Case::httpError);
    EXPECT_EQ(DirectError::decoding().kind(), DirectError::Case::decoding);
}

/// Opens the scripts that it was given, and sends nothing else.
class OneStream final : public HttpTransport {
public:
    explicit OneStream(HttpStreamScript script) : script_(std::move(script)) {}
    Task<HttpResponse> send(HttpRequest) override {
        throw TransportError(TransportFault::noNetwork);
        co_return HttpResponse{};
    }
    Task<std::unique_ptr<HttpStream>> open(HttpRequest) override { co_return script_.stream(); }

private:
    HttpStreamScript script_;
};

struct Chatting {
    HttpStreamScript script;
    OneStream transport{script};
    VennicHTTP http{transport, QStringLiteral("h"), nullptr};
    std::string outcome;
    std::string heard;
    Scope scope;
    Job job = scope.start(run(this));

    static Task<> run(Chatting* self) {
        try {
            const auto reply = co_await LocalDirectClient::streamChatRaw(
                &self->http, endpoint, "{}", [self](const QString& delta) { self->heard += delta.toStdString(); });
            self->outcome = reply.text.toStdString();
        } catch (const Cancelled&) {
            self->outcome = "cancelled";
        }
    }
};

TEST(LocalDirectClientStream, piecesAreHeardWhileTheStreamIsOpen) {
    Chatting chat;
    chat.script.say(chunks::text("Bon"));
    ASSERT_TRUE(waitUntil([&] { return chat.heard == "Bon" && chat.script.isAwaited(); }));
    chat.script.say(chunks::text("jour") + chunks::done());
    ASSERT_TRUE(waitUntil([&] { return chat.outcome == "Bonjour"; }));
    EXPECT_TRUE(chat.script.isClosed()) << "the last word ends the reading, not the server";
}

TEST(LocalDirectClientStream, aBurstOfPiecesLeavesEverythingElseItsTurn) {
    constexpr int pieces = 5000;
    Chatting chat;
    LoopTurns turns;
    std::size_t heard = 0;
    std::size_t mostAtOnce = 0;
    turns.each([&] {
        mostAtOnce = std::max(mostAtOnce, chat.heard.size() - heard);
        heard = chat.heard.size();
    });
    chat.script.say(chunks::text("x").repeated(pieces) + chunks::done());
    ASSERT_TRUE(waitUntil([&] { return chat.outcome.size() == pieces; }));
    EXPECT_EQ(chat.heard.size(), pieces);
    EXPECT_GT(mostAtOnce, 0U);
    EXPECT_LE(mostAtOnce, 2U);
}

TEST(LocalDirectClientStream, whoStopsReadingClosesTheConnectionAtOnce) {
    Chatting chat;
    chat.script.say(chunks::text("Bon"));
    ASSERT_TRUE(waitUntil([&] { return chat.script.isAwaited(); }));
    chat.job.cancel();
    ASSERT_TRUE(waitUntil([&] { return chat.outcome == "cancelled"; }));
    EXPECT_TRUE(chat.script.isClosed());
}

} // namespace
} // namespace vennic::test
