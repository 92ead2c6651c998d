#include "Bridge/LocalLLMHandler.h"
#include "backend/APIConfig.h"
#include "backend/LocalCompletionReader.h"
#include "fakes/KeyValueStoreFake.h"
#include "fakes/SystemMemoryFake.h"
#include "faults/FaultBackend.h"
#include "linux/HttpTransportCurl.h"
#include "localllm/DirectError.h"
#include "localllm/LocalDirectClient.h"
#include "support/Answers.h"
#include "support/Await.h"
#include "support/ChatChunks.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

const char* const streamHead = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n";

QByteArray chunked(const QByteArray& data) { return QByteArray::number(data.size(), 16) + "\r\n" + data + "\r\n"; }

/// A good stream: "Bonjour" in two pieces.
QByteArray goodStream() {
    return streamHead + QByteArray("Transfer-Encoding: chunked\r\n\r\n") + chunked(chunks::text("Bon")) +
           chunked(chunks::text("jour")) + chunked(chunks::done()) + "0\r\n\r\n";
}
QByteArray goodList() { return answerBytes(200, R"({"data":[{"id":"m"}]})"); }

/// How a chat ends: the text that was read, or the failure's words.
struct ChatEnd {
    std::string text;
    std::string failure;
};

/// One thing that can go wrong at the local server, and how the calls end under it.
struct LocalFault {
    std::string name;
    std::function<AnswerScript(const QByteArray& good)> script;
    bool reachable = false;
    ChatEnd chat;
    bool hurried = false;
    Greeting greeting = Greeting::handshake;
};

ChatEnd failed(const std::string& words) { return {{}, words}; }
ChatEnd failed(TransportFault fault) { return failed(transportFaultText(fault).toStdString()); }
ChatEnd whole(const std::string& text) { return {text, {}}; }

std::function<AnswerScript(const QByteArray&)> always(const AnswerScript& script) {
    return [script](const QByteArray&) { return script; };
}
std::function<AnswerScript(const QByteArray&)> good(AnswerScript (*shape)(const QByteArray&)) {
    return [shape](const QByteArray& good) { return shape(good); };
}
std::function<AnswerScript(const QByteArray&)> part(AnswerScript (*shape)(const QByteArray&), qsizetype missing) {
    return [shape, missing](const QByteArray& good) { return shape(good.chopped(missing)); };
}

std::vector<LocalFault> localFaults() {
    const ChatEnd cut = failed(TransportFault::cutOff);
    const ChatEnd late = failed(TransportFault::timedOut);
    const ChatEnd large = failed(TransportFault::tooLarge);
    const auto slices = [](const QByteArray& good) { return answers::drip(good, 1ms); };
    const auto status = [](int number, const char* body) { return always(answers::plain(number, body)); };
    const QByteArray endlessLine =
        streamHead + QByteArray("Transfer-Encoding: chunked\r\n\r\n") + chunked("data: " + QByteArray(1 << 20, 'x'));
    return {
        {"nothing", good(answers::bytes), true, whole("Bonjour")},
        {"slices", slices, true, whole("Bonjour")},
        {"closedAtOnce", always(answers::plain(200)), false, cut, false, Greeting::closeAtOnce},
        {"resetAtOnce", always(answers::plain(200)), false, cut, false, Greeting::resetAtOnce},
        {"acceptedAndSilent", always(answers::plain(200)), false, late, true, Greeting::silence},
        {"cutBeforeTheAnswer", always(answers::bytesThenCut({})), false, cut},
        {"resetBeforeTheAnswer", always(answers::bytesThenReset({})), false, cut},
        {"cutInTheHeader", always(answers::bytesThenCut("HTTP/1.1 200 OK\r\nConte")), false, cut},
        {"cutInTheBody", part(answers::bytesThenCut, 12), false, cut},
        {"resetInTheBody", part(answers::bytesThenReset, 12), false, cut},
        {"cutBehindTheLastWord", part(answers::bytesThenCut, 5), false, whole("Bonjour")},
        {"blackHole", always(answers::bytesThenSilence({})), false, late, true},
        {"silentInTheBody", part(answers::bytesThenSilence, 30), false, late, true},
        {"notHttp", always(answers::bytesThenClose("garbage\r\n")), false,
         failed("Local server returned an unparseable stream.")},
        {"endlessHeader", always(answers::endlessHeader()), false, large},
        {"endlessHeaderLine", always(answers::endlessHeaderLine()), false, large},
        {"endlessLine", always(answers::bytes(endlessLine)), false, large, true},
        {"status500", status(500, "plein\nde mots"), false, failed("Local server HTTP 500: pleinde mots")},
        {"status401", status(401, ""), false, failed("Local server HTTP 401: ")},
        {"status404", status(404, "absent"), false, failed("Local server HTTP 404: absent")},
        {"redirect", always(answers::redirect(307, QUrl(QStringLiteral("http://127.0.0.1:9/")))), false,
         failed("Local server HTTP 307: moved")},
        {"htmlInsteadOfAStream", always(answers::plain(200, "<html>\n<p>Bonjour\n")), true, whole("")},
        {"binary", always(answers::plain(200, QByteArray("data: \0\xff\xfe\n\n\x80", 13))), true, whole("")},
        {"endsWithoutALength", always(answers::bytesThenClose(streamHead + QByteArray("\r\n") + chunks::text("Bon"))),
         true, whole("Bon")},
    };
}

/// Its name alone: it stands in the name of the test.
void PrintTo(const LocalFault& fault, std::ostream* out) { *out << fault.name; }

std::string nameOf(const testing::TestParamInfo<LocalFault>& fault) { return fault.param.name; }

struct LocalServerFault : testing::TestWithParam<LocalFault> {
    LoopbackServer server{{.tls = false, .greeting = GetParam().greeting}};
    HttpTransportCurl curl;
    HurriedTransport transport{curl};
    VennicHTTP http{transport, QStringLiteral("127.0.0.1"), nullptr};
    QString endpoint = server.url(QStringLiteral("/v1")).toString();

    LocalServerFault() {
        transport.hurried = GetParam().hurried;
        transport.factor = 1200;
    }
    void serve(const QByteArray& good) { server.onRequest(GetParam().script(good)); }
    /// Whether the request arrived as often as it was sent: once, if at all.
    void expectOnce(const char* method, const char* target) {
        EXPECT_EQ(server.count(method, target), GetParam().greeting == Greeting::handshake ? 1 : 0);
        for (const ReceivedRequest& request : server.requests()) {
            EXPECT_TRUE(request.header("X-User-Token").isNull());
            EXPECT_TRUE(request.header("Authorization").isNull());
            EXPECT_TRUE(request.header("Cookie").isNull());
        }
    }
};

TEST_P(LocalServerFault, tellsWhetherItIsReachable) {
    serve(goodList());
    EXPECT_EQ(await(LocalDirectClient::isReachable(&http, endpoint, 240s)), GetParam().reachable);
    expectOnce("GET", "/v1/models");
}

TEST_P(LocalServerFault, tellsTheLoadedModelOrNone) {
    serve(goodList());
    transport.factor = 10; // of two seconds
    const SystemMemoryFake memory;
    SystemClock clock;
    LocalLLMTelemetry telemetry(http, memory, clock);
    await(telemetry.setEndpoint(endpoint));
    const bool isWhole = GetParam().reachable && GetParam().chat.text == "Bonjour";
    EXPECT_EQ(await(telemetry.currentLoadedModel()), isWhole ? std::optional(QStringLiteral("m")) : std::nullopt);
    expectOnce("GET", "/v1/models");
}

TEST_P(LocalServerFault, endsTheChatAsItShouldAndTheRequestArrivesOnce) {
    serve(goodStream());
    ChatEnd end;
    try {
        end.text = await(LocalDirectClient::streamChatRaw(&http, endpoint, "{}", {}), 60s).text.toStdString();
    } catch (const LocalizedError& error) {
        end.failure = error.errorDescription().toStdString();
    }
    EXPECT_EQ(end.text, GetParam().chat.text);
    EXPECT_EQ(end.failure, GetParam().chat.failure);
    expectOnce("POST", "/v1/chat/completions");
}

/// Keeps what the backend is told, and leaves streams to another.
class ToldBackend final : public HttpTransport {
public:
    explicit ToldBackend(HttpTransport& streams) : streams_(streams) {}
    Task<HttpResponse> send(HttpRequest request) override {
        told.push_back(QJsonDocument::fromJson(request.body.value_or(QByteArray())).object());
        co_return HttpResponse{.status = 200, .headers = {}, .body = {}};
    }
    Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override { return streams_.open(std::move(request)); }
    std::vector<QJsonObject> told;

private:
    HttpTransport& streams_;
};

class LocalModelOn final : public BridgeContext {
public:
    explicit LocalModelOn(QString endpoint) : endpoint_(std::move(endpoint)) {}
    bool bridgeEnabled() const override { return false; }
    LocalLLMSettings localLLM() const override {
        return {.enabled = true, .endpoint = endpoint_, .model = QStringLiteral("m")};
    }
    QString localLLMDeviceNickname() const override { return {}; }
    QString bridgeDeviceId() override { return {}; }
    std::optional<double> mainScreenScale() const override { return std::nullopt; }

private:
    QString endpoint_;
};

/// The failure in the words that the backend hears.
std::string relayed(const std::string& failure) {
    const std::string refusal = "Local server HTTP ";
    if (failure.starts_with(refusal))
        return "Serveur local HTTP " + failure.substr(refusal.size()).replace(3, 1, " :");
    if (failure.starts_with("Local server returned"))
        return "Réponse invalide du serveur local.";
    return "Serveur local injoignable : " + failure;
}

TEST_P(LocalServerFault, endsTheRelayAsItShouldAndTheRequestArrivesOnce) {
    serve(goodStream());
    ToldBackend backend(transport);
    VennicHTTP both(backend, QStringLiteral("vennic.example"), nullptr);
    const LocalModelOn context(endpoint);
    const SystemMemoryFake memory;
    SystemClock clock;
    LocalLLMTelemetry telemetry(both, memory, clock);
    LocalLLMHandler handler(both, context, telemetry, clock);
    const KeyValueStoreFake store;
    const APIConfig config(store, Deployment{.backendUrl = QStringLiteral("https://vennic.example"),
                                             .backendDomain = QStringLiteral("vennic.example"),
                                             .apiHost = QStringLiteral("vennic.example"),
                                             .pairingPage = {},
                                             .packageManagerSite = {}});
    const BridgeTask task{.id = QStringLiteral("t"), .kind = BridgeTaskKind::llmInfer, .args = {}};
    await(handler.handle(task, LLMInferArgs{.openaiBodyJson = QStringLiteral("{}")},
                         APIService(both, config, SecretText("s3cret"), {})),
          60s);
    ASSERT_FALSE(backend.told.empty());
    const QJsonObject last = backend.told.back();
    if (GetParam().chat.failure.empty()) {
        const QJsonObject answer =
            QJsonDocument::fromJson(last[QLatin1String("result")][QLatin1String("response_json")].toString().toUtf8())
                .object();
        EXPECT_EQ(answer[QLatin1String("choices")][0][QLatin1String("message")][QLatin1String("content")]
                      .toString()
                      .toStdString(),
                  GetParam().chat.text);
    } else {
        EXPECT_EQ(last[QLatin1String("error_message")].toString().toStdString(), relayed(GetParam().chat.failure));
    }
    expectOnce("POST", "/v1/chat/completions");
}

INSTANTIATE_TEST_SUITE_P(Faults, LocalServerFault, testing::ValuesIn(localFaults()), nameOf);

struct LocalServer : testing::Test {
    LoopbackServer server{{.tls = false}};
    HttpTransportCurl transport;
    VennicHTTP http{transport, QStringLiteral("api.example"), nullptr};
    QString endpoint = server.url(QStringLiteral("/v1")).toString();
};

TEST_F(LocalServer, aRefusedConnectionKeepsTheTransportsWords) {
    const RefusingPort port;
    const QString nobody = QStringLiteral("http://127.0.0.1:%1/v1").arg(port.port());
    EXPECT_FALSE(await(LocalDirectClient::isReachable(&http, nobody, 2s)));
    try {
        await(LocalDirectClient::streamChatRaw(&http, nobody, "{}", {}));
        FAIL() << "nobody is there";
    } catch (const TransportError& error) {
        EXPECT_EQ(error.fault(), TransportFault::refused);
    }
}

struct Listener {
    std::string heard;
    std::string outcome;
    Scope scope;
    Job job;

    void start(VennicHTTP* http, const QString& endpoint) { job = scope.start(run(this, http, endpoint)); }
    static Task<> run(Listener* self, VennicHTTP* http, QString endpoint) {
        try {
            const auto reply = co_await LocalDirectClient::streamChatRaw(
                http, endpoint, "{}", [self](const QString& delta) { self->heard += delta.toStdString(); });
            self->outcome = "whole";
        } catch (const Cancelled&) {
            self->outcome = "cancelled";
        }
    }
};

TEST_F(LocalServer, whoStopsReadingClosesTheConnectionAtOnce) {
    server.onRequest(answers::bytesThenSilence(goodStream().left(200)));
    Listener listener;
    listener.start(&http, endpoint);
    ASSERT_TRUE(waitUntil([&] { return listener.heard == "Bon"; }));
    EXPECT_EQ(server.openConnections(), 1);
    listener.job.cancel();
    ASSERT_TRUE(waitUntil([&] { return listener.outcome == "cancelled"; }));
    EXPECT_TRUE(waitUntil([&] { return server.openConnections() == 0; }));
}

TEST_F(LocalServer, theLastWordClosesTheConnectionOfAServerThatStays) {
    server.onRequest(answers::bytesThenSilence(goodStream().chopped(5)));
    Listener listener;
    listener.start(&http, endpoint);
    ASSERT_TRUE(waitUntil([&] { return listener.outcome == "whole"; }));
    EXPECT_TRUE(waitUntil([&] { return server.openConnections() == 0; }));
}

/// Memory of this process that is not mapped from files, in bytes.
qint64 ownMemory() {
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = file.readAll().split(' ');
    return (fields.value(1).toLongLong() - fields.value(2).toLongLong()) * 4096;
}

Task<qint64> readSlowly(VennicHTTP* http, HttpRequest request, Event<>* goOn, std::size_t* pieces) {
    LocalCompletionReader reader(co_await http->sharedStream(std::move(request)));
    qint64 characters = 0;
    while (const auto text = co_await reader.nextText()) {
        characters += text->size();
        if (++*pieces == 1)
            co_await *goOn;
    }
    co_return characters;
}

// A reader that waits holds up the server: what is on its way meanwhile has a bound.
TEST_F(LocalServer, aReaderThatWaitsHoldsUpAServerThatFloods) {
    constexpr int lines = 400'000; // some 20 MB
    std::atomic<qint64> sent = 0;
    server.onRequest([&](Wire& wire, const ReceivedRequest&) {
        wire.send(streamHead + QByteArray("\r\n"));
        const QByteArray block = chunks::text("a").repeated(100);
        for (int at = 0; at < lines / 100 && wire.send(block); ++at)
            sent += block.size();
        wire.send(chunks::done());
        wire.close();
    });
    Event<> goOn;
    std::size_t pieces = 0;
    struct Run {
        static Task<> keep(Task<qint64> task, qint64* characters) { *characters = co_await task; }
    };
    qint64 characters = 0;
    Scope scope;
    [[maybe_unused]] const qint64 before = ownMemory(); // a sanitizer keeps what has been freed
    scope.start(Run::keep(
        readSlowly(&http, localCompletionRequest(*localServerURL(endpoint, QLatin1String("/chat/completions")), "{}"),
                   &goOn, &pieces),
        &characters));
    ASSERT_TRUE(waitUntil([&] { return pieces == 1; }));
    qint64 seen = -1;
    ASSERT_TRUE(waitUntil([&] { // until nothing more is taken from the server
        const qint64 now = sent;
        const bool still = now == seen;
        seen = now;
        if (!still)
            waitUntil([] { return false; }, 200ms);
        return still;
    }));
    EXPECT_LT(seen, 12LL << 20) << "the sockets' own buffers hold a few MB";
    EXPECT_EQ(pieces, 1u);
    goOn.set();
    ASSERT_TRUE(waitUntil([&] { return characters == lines; }, 50s)) << characters;
#ifndef VENNIC_SANITIZED
    EXPECT_LT(ownMemory() - before, 24LL << 20);
#endif
}

} // namespace
} // namespace vennic::test
