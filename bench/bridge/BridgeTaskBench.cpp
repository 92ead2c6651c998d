// A trivial task from the answer of the poll to its PATCH, seen by the server, over TLS on loopback; beside it the
// same two requests by a blocking libcurl on one kept-alive connection. Each figure is one line: name, value, unit.
//
//   bridge_task_bench [TASKS]
#include "Bridge/BridgeWorld.h"
#include "linux/HttpTransportCurl.h"
#include "support/Answers.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <curl/curl.h>
#include <mutex>

using namespace vennic;
using namespace vennic::test;
using Moment = std::chrono::steady_clock;

namespace {

constexpr int warmUp = 200;
int measured = 5000; // tasks, after the warm-up

/// Gives a task to every poll and takes the time until its answer arrives.
class TimingBackend {
public:
    explicit TimingBackend(LoopbackServer& server) {
        server.onRequest([this](Wire& wire, const ReceivedRequest& request) {
            if (request.method == "GET") {
                const QByteArray task = taskJson("read", R"({"document_id":"x"})");
                const QByteArray bytes = answerBytes(200, task);
                given_ = Moment::now();
                wire.send(bytes);
                return;
            }
            const auto taken = std::chrono::duration<double, std::micro>(Moment::now() - given_).count();
            {
                const std::scoped_lock guard(lock_);
                microseconds_.push_back(taken);
            }
            wire.send(answerBytes(200, "{}"));
        });
    }
    int count() const {
        const std::scoped_lock guard(lock_);
        return static_cast<int>(microseconds_.size());
    }
    /// The median and the 99th percentile after the warm-up; begins anew.
    std::pair<double, double> take() {
        const std::scoped_lock guard(lock_);
        std::vector<double> all(microseconds_.begin() + warmUp, microseconds_.end());
        microseconds_.clear();
        std::ranges::sort(all);
        return {all.at(all.size() / 2), all.at(all.size() * 99 / 100)};
    }

private:
    mutable std::mutex lock_;
    std::vector<double> microseconds_;
    Moment::time_point given_; // one connection, one thread
};

std::size_t discard(char*, std::size_t size, std::size_t count, void*) { return size * count; }

void bareRequests(const LoopbackServer& server) {
    CURL* curl = curl_easy_init();
    const QByteArray poll = server.url(QStringLiteral("/api/v1/bridge/tasks/next?wait=25")).toEncoded();
    const QByteArray answer = server.url(QStringLiteral("/api/v1/bridge/tasks/t1")).toEncoded();
    const QByteArray body = encodeBridgeErrorBody(QStringLiteral("Document introuvable"));
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, discard);
    for (int round = 0; round < warmUp + measured; ++round) {
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, nullptr);
        curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
        curl_easy_setopt(curl, CURLOPT_URL, poll.constData());
        curl_easy_perform(curl);
        curl_easy_setopt(curl, CURLOPT_URL, answer.constData());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.constData());
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "PATCH");
        curl_easy_perform(curl);
    }
    curl_easy_cleanup(curl);
}

void bridge(LoopbackServer& server, TimingBackend& backend) {
    BridgeWorld world;
    HttpTransportCurl transport;
    const QString host = QStringLiteral("127.0.0.1");
    const APIConfig config(world.store,
                           Deployment{.backendUrl = QStringLiteral("https://127.0.0.1:%1").arg(server.port()),
                                      .backendDomain = host,
                                      .apiHost = host,
                                      .pairingPage = {},
                                      .packageManagerSite = {}});
    VennicHTTP http(transport, host, LoopbackServer::authority().anchors());
    BridgeService service({http, config, world.clock, world.context, nullptr, world.telemetry, world.store, world.index,
                           world.bookmarks, world.files, world.types, world.reader, world.photos, world.workspace,
                           world.automations, world.thumbnailer, world.recognizer});
    service.start(SecretText("token"));
    while (backend.count() < warmUp + measured)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc > 1)
        measured = std::max(1, std::atoi(argv[1]));
    curl_global_init(CURL_GLOBAL_DEFAULT);
    LoopbackServer server;
    TimingBackend backend(server);
    bareRequests(server);
    const auto [bare, bareSlow] = backend.take();
    bridge(server, backend);
    const auto [ours, oursSlow] = backend.take();
    std::printf("task.median\t%.4f\tms\ntask.p99\t%.4f\tms\nbare.median\t%.4f\tms\nbare.p99\t%.4f\tms\n", ours / 1000,
                oursSlow / 1000, bare / 1000, bareSlow / 1000);
    return 0;
}
