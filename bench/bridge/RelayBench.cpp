// Inference relayed from a model's server to the backend (TLS on loopback), beside a blocking libcurl that reads the
// same streams: how long a piece of text takes from the model's server to who waits for it, and what it costs. Each
// figure is one line: name, value, unit.
//
//   relay_bench [FIRST_TOKENS] [PACED_TOKENS] [FLOODED_TOKENS]
#include "Bridge/BridgeWorld.h"
#include "linux/HttpTransportCurl.h"
#include "support/Answers.h"
#include "support/ChatChunks.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <curl/curl.h>
#include <mutex>
#include <sys/resource.h>
#include <thread>

using namespace vennic;
using namespace vennic::test;
using Moment = std::chrono::steady_clock;

namespace {

constexpr qsizetype tokenSize = 5; // characters
constexpr auto pace = std::chrono::milliseconds{10};
const QByteArray token("mots ");
int firstTokens = 300;
int pacedTokens = 1000;
int floodedTokens = 100'000;

/// The model's server: streams as many tokens as it is told, at once or at a pace, and notes when each left.
class Model {
public:
    Model() {
        server_.onRequest([this](Wire& wire, const ReceivedRequest&) { answer(wire); });
    }

    void prepare(int tokens, bool paced) {
        const std::scoped_lock guard(lock_);
        tokens_ = tokens;
        paced_ = paced;
        left_.clear();
    }
    QString endpoint() const { return server_.url(QStringLiteral("/v1")).toString(); }
    /// When token number `index` left.
    Moment::time_point leftAt(std::size_t index) const {
        const std::scoped_lock guard(lock_);
        return left_.at(index);
    }

private:
    void answer(Wire& wire) {
        const QByteArray chunk = chunks::text(token);
        const QByteArray piece = QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
        wire.send("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n");
        const auto begun = Moment::now();
        int block = paced_ ? 1 : 50;
        for (int at = 0; at < tokens_; at += block) {
            if (paced_)
                std::this_thread::sleep_until(begun + (at + 1) * pace);
            block = std::min(block, tokens_ - at);
            {
                const std::scoped_lock guard(lock_);
                left_.insert(left_.end(), static_cast<std::size_t>(block), Moment::now());
            }
            wire.send(piece.repeated(block));
        }
        const QByteArray end = chunks::usage(1, tokens_) + chunks::done();
        wire.send(QByteArray::number(end.size(), 16) + "\r\n" + end + "\r\n0\r\n\r\n");
    }

    mutable std::mutex lock_;
    int tokens_ = 1;
    bool paced_ = true;
    std::vector<Moment::time_point> left_;
    LoopbackServer server_{{.tls = false}};
};

/// Microseconds, sorted.
struct Delays {
    std::vector<double> all;
    void note(Moment::time_point from, Moment::time_point to) {
        all.push_back(std::chrono::duration<double, std::micro>(to - from).count());
    }
    double of(int hundredth) {
        std::ranges::sort(all);
        return all.empty() ? -1 : all.at((all.size() - 1) * static_cast<std::size_t>(hundredth) / 100);
    }
};

/// What one reader saw: the delay of the newest and of the oldest token in each of its pieces.
struct Seen {
    Delays newest;
    Delays oldest;
    std::size_t tokens = 0;
    int pieces = 0;

    void piece(const Model& model, qsizetype characters, Moment::time_point now) {
        const std::size_t before = tokens;
        tokens += static_cast<std::size_t>(characters / tokenSize);
        ++pieces;
        if (tokens == before)
            return;
        oldest.note(model.leftAt(before), now);
        newest.note(model.leftAt(tokens - 1), now);
    }
};

/// The backend's side: gives inference tasks when told to, and watches what comes back.
class WatchingBackend {
public:
    explicit WatchingBackend(const Model& model) : model_(model) {
        server.onRequest([this](Wire& wire, const ReceivedRequest& request) {
            const auto now = Moment::now();
            if (request.method == "GET")
                return poll(wire);
            const QJsonObject body = QJsonDocument::fromJson(request.body).object();
            {
                const std::scoped_lock guard(lock_);
                if (body.contains(QLatin1String("delta")))
                    seen_.piece(model_, body.value(QLatin1String("delta")).toString().size(), now);
            }
            wire.send(answerBytes(200, "{}"));
        });
    }

    void give() { waiting_ = true; }
    void nextAnswer() {
        const std::scoped_lock guard(lock_);
        seen_.tokens = 0;
    }
    Seen take() {
        const std::scoped_lock guard(lock_);
        return std::exchange(seen_, {});
    }

    LoopbackServer server;

private:
    void poll(Wire& wire) {
        while (!waiting_.exchange(false)) {
            if (!wire.pause(std::chrono::milliseconds{1}))
                return;
        }
        wire.send(answerBytes(200, taskJson("llm_infer", R"({"openai_body_json":"{}"})")));
    }

    const Model& model_;
    mutable std::mutex lock_;
    std::atomic<bool> waiting_ = false;
    Seen seen_;
};

/// libcurl reading one stream.
struct Peer {
    const Model& model;
    Seen seen;
    QByteArray pending;

    static std::size_t take(char* at, std::size_t size, std::size_t count, void* self) {
        const auto now = Moment::now();
        auto& peer = *static_cast<Peer*>(self);
        const std::size_t bytes = size * count;
        peer.pending.append(at, static_cast<qsizetype>(bytes));
        const qsizetype whole = peer.pending.lastIndexOf('\n') + 1;
        const auto characters = peer.pending.first(whole).count("\"content\":") * tokenSize;
        peer.pending.remove(0, whole);
        peer.seen.piece(peer.model, characters, now);
        return bytes;
    }
};

Seen readByCurl(Model& model, int tokens, int rounds) {
    Peer peer{model, {}, {}};
    CURL* curl = curl_easy_init();
    const QByteArray url = (model.endpoint() + QStringLiteral("/chat/completions")).toUtf8();
    curl_easy_setopt(curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, "{}");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Peer::take);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &peer);
    for (int round = 0; round < rounds; ++round) {
        model.prepare(tokens, true);
        peer.seen.tokens = 0;
        peer.pending.clear();
        curl_easy_perform(curl);
    }
    curl_easy_cleanup(curl);
    return peer.seen;
}

double threadSeconds() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void line(const char* name, double value, const char* unit) { std::printf("%s\t%.3f\t%s\n", name, value, unit); }

struct Relay {
    Model model;
    WatchingBackend backend{model};
    BridgeWorld world;
    HttpTransportCurl transport;
    SystemClock clock;
    const QString host = QStringLiteral("127.0.0.1");
    const APIConfig config{world.store,
                           Deployment{.backendUrl = QStringLiteral("https://127.0.0.1:%1").arg(backend.server.port()),
                                      .backendDomain = host,
                                      .apiHost = host,
                                      .pairingPage = {},
                                      .packageManagerSite = {}}};
    VennicHTTP http{transport, host, LoopbackServer::authority().anchors()};
    BridgeService service{{http, config, clock, world.context, nullptr, world.telemetry, world.store, world.index,
                           world.bookmarks, world.files, world.types, world.reader, world.photos, world.workspace,
                           world.automations, world.thumbnailer, world.recognizer}};

    Relay() {
        world.context.localModel.endpoint = model.endpoint();
        service.start(SecretText("token"));
    }
    void infer(int tokens, bool paced) {
        model.prepare(tokens, paced);
        backend.nextAnswer();
        const qint64 before = service.tasksServed();
        backend.give();
        while (service.tasksServed() == before)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto argument = [&](int at, int usual) { return argc > at ? std::max(1, std::atoi(argv[at])) : usual; };
    firstTokens = argument(1, firstTokens);
    pacedTokens = argument(2, pacedTokens);
    floodedTokens = argument(3, floodedTokens);
    QLoggingCategory::setFilterRules(QStringLiteral("vennic.localllm=false"));
    curl_global_init(CURL_GLOBAL_DEFAULT);

    Relay relay;
    for (int round = 0; round < 20; ++round)
        relay.infer(1, true);
    relay.backend.take();
    for (int round = 0; round < firstTokens; ++round)
        relay.infer(1, true);
    Seen first = relay.backend.take();
    Seen bare = readByCurl(relay.model, 1, firstTokens);
    line("first.median", first.newest.of(50) / 1000, "ms");
    line("first.p99", first.newest.of(99) / 1000, "ms");
    line("curl.median", bare.newest.of(50) / 1000, "ms");
    line("curl.p99", bare.newest.of(99) / 1000, "ms");

    double before = threadSeconds();
    relay.infer(pacedTokens, true);
    const double paced = threadSeconds() - before;
    Seen updates = relay.backend.take();
    Seen bareUpdates = readByCurl(relay.model, pacedTokens, 1);
    line("curl.update.median", bareUpdates.newest.of(50) / 1000, "ms");
    line("curl.update.p99", bareUpdates.newest.of(99) / 1000, "ms");
    line("update.newest.median", updates.newest.of(50) / 1000, "ms");
    line("update.newest.p99", updates.newest.of(99) / 1000, "ms");
    line("update.oldest.median", updates.oldest.of(50) / 1000, "ms");
    line("update.oldest.p99", updates.oldest.of(99) / 1000, "ms");
    line("update.tokens", static_cast<double>(updates.tokens) / updates.pieces, "tokens");
    line("paced.cpu", paced * 1000 / pacedTokens * 1000, "ms");

    before = threadSeconds();
    const auto begun = Moment::now();
    relay.infer(floodedTokens, false);
    const double flooded = threadSeconds() - before;
    line("flood.cpu", flooded * 1000 / floodedTokens * 1000, "ms");
    line("flood.speed", floodedTokens / std::chrono::duration<double>(Moment::now() - begun).count(), "tokens/s");
    return 0;
}
