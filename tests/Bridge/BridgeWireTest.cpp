#include "Bridge/BridgeService.h"
#include "Bridge/BridgeWorld.h"
#include "Bridge/WireBackend.h"
#include "linux/HttpTransportCurl.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

using Status = BridgeService::Status;

/// Sends with less patience, so that a time-out of the wire can be awaited.
class ImpatientTransport final : public HttpTransport {
public:
    Task<HttpResponse> send(HttpRequest request) override {
        if (patience)
            request.timeout = *patience;
        return inner_.send(std::move(request));
    }
    Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override { return inner_.open(std::move(request)); }
    std::optional<std::chrono::milliseconds> patience;

private:
    HttpTransportCurl inner_;
};

struct BridgeWireTest : ::testing::Test {
    LoopbackServer server;
    WireBackend backend{server};
    BridgeWorld world;
    ImpatientTransport transport;
    APIConfig config{world.store, Deployment{.backendUrl = origin(),
                                             .backendDomain = QStringLiteral("127.0.0.1"),
                                             .apiHost = QStringLiteral("127.0.0.1"),
                                             .pairingPage = {},
                                             .packageManagerSite = {}}};
    VennicHTTP http{transport, QStringLiteral("127.0.0.1"), LoopbackServer::authority().anchors()};
    BridgeService service{{http, config, world.clock, world.context, nullptr, world.telemetry, world.store, world.index,
                           world.bookmarks, world.files, world.types, world.reader, world.photos, world.workspace,
                           world.automations, world.thumbnailer, world.recognizer}};

    QString origin() const { return QStringLiteral("https://127.0.0.1:%1").arg(server.port()); }
    void start() { service.start(SecretText("t0ken")); }
    int polls() const { return server.count("GET", "/api/v1/bridge/tasks/next?wait=25"); }
    std::vector<ReceivedRequest> updates() const {
        std::vector<ReceivedRequest> all;
        for (const ReceivedRequest& request : server.requests()) {
            if (request.method == "PATCH")
                all.push_back(request);
        }
        return all;
    }
    /// Waits until the bridge sleeps after a failure, then lets the time pass.
    testing::AssertionResult backedOff(std::size_t failures) {
        if (!waitUntil([&] { return world.clock.asked.size() == failures && world.clock.sleeping() == 1; }))
            return testing::AssertionFailure() << world.clock.asked.size() << " failures";
        world.clock.advance(30s);
        return testing::AssertionSuccess();
    }
    static QJsonObject json(const ReceivedRequest& request) { return QJsonDocument::fromJson(request.body).object(); }
};

} // namespace

TEST_F(BridgeWireTest, aSearchAndThenAReadOfWhatItFound) {
    world.share(QStringLiteral("/d"));
    world.files->addFile(QStringLiteral("/d/facture.txt"), 3);
    world.reader->documents[QStringLiteral("/d/facture.txt")] = QStringLiteral("Montant dû : 42 €");
    IndexItem item;
    item.path = QStringLiteral("/d/facture.txt");
    world.index.answers.push_back({{item}});
    backend.onUpdate = [this](const ReceivedRequest& request) {
        const QString id =
            json(request)[QLatin1String("result")][QLatin1String("items")][0][QLatin1String("id")].toString();
        if (!id.isEmpty())
            backend.giveTask(taskJson("read", R"({"document_id":")" + id.toLatin1() + "\"}", "lecture-2"));
    };
    backend.answerNextPoll(answers::plain(204));
    backend.giveTask(taskJson("search", R"({"query":"facture"})", "recherche-1"));
    start();
    ASSERT_TRUE(waitUntil([&] { return service.tasksServed() == 2 && polls() == 4; }));
    const auto sent = updates();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].target, "/api/v1/bridge/tasks/recherche-1");
    EXPECT_EQ(sent[0].header("X-User-Token"), "t0ken");
    EXPECT_EQ(sent[0].header("X-Bridge-Device-Nickname"), "Mac de Marie");
    EXPECT_EQ(sent[0].header("Content-Type"), "application/json");
    EXPECT_EQ(sent[1].target, "/api/v1/bridge/tasks/lecture-2");
    EXPECT_EQ(json(sent[1])[QLatin1String("status")].toString(), QStringLiteral("done"));
    EXPECT_EQ(json(sent[1])[QLatin1String("result")][QLatin1String("content")].toString(),
              QStringLiteral("Montant dû : 42 €"));
    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(service.status(), Status::polling());
}

TEST_F(BridgeWireTest, aLongPollThatRunsOutOfTimeIsFollowedByTheNextWithoutDelay) {
    transport.patience = 100ms;
    start();
    ASSERT_TRUE(waitUntil([&] { return polls() >= 3; }));
    EXPECT_TRUE(world.clock.asked.empty());
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
}

TEST_F(BridgeWireTest, anUnauthorisedAnswerInTheMiddleEndsTheLoop) {
    QObject::connect(&http.authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure, &service,
                     [&] { service.stop(); });
    backend.answerNextPoll(answers::plain(204));
    backend.giveTask(taskJson("list_folders"));
    backend.answerNextPoll(answers::plain(401, R"({"error":"expired"})"));
    start();
    ASSERT_TRUE(waitUntil([&] { return polls() == 3 && service.status() == Status::off(); }));
    ASSERT_TRUE(waitUntil([&] { return world.clock.sleeping() == 0 && service.lastErrorMessage().has_value(); }));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(service.tasksServed(), 1);
    EXPECT_EQ(polls(), 3);
}

TEST_F(BridgeWireTest, everyKindOfBrokenAnswerBacksOffAndTheLoopLives) {
    const std::vector<AnswerScript> broken{
        answers::plain(200, "<html>Bad gateway</html>"),
        answers::plain(200, ""),
        answers::plain(200, QByteArray(200'000, '[')),
        answers::plain(200, taskJson("fly")),
        answers::plain(200, R"({"id":"t1","kind":"search"})"),
        answers::plain(200, taskJson("search", R"({"query":1})")),
        answers::plain(500, "panne"),
        answers::plain(403),
        answers::redirect(302, server.url(QStringLiteral("/elsewhere"))),
        answers::bytesThenClose("SSH-2.0-OpenSSH_9.2\r\n"),
        answers::bytesThenCut("HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\n{\"id\""),
        answers::bytesThenReset("HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\n{\"id\""),
        answers::hugeBody(64LL * 1024 * 1024, 20LL * 1024 * 1024),
        answers::corruptedTls(),
    };
    for (const AnswerScript& script : broken)
        backend.answerNextPoll(script);
    backend.giveTask(taskJson("list_folders"));
    start();
    for (std::size_t failure = 1; failure <= broken.size(); ++failure)
        ASSERT_TRUE(backedOff(failure));
    ASSERT_TRUE(waitUntil([&] { return service.tasksServed() == 1; }));
    EXPECT_EQ(updates().size(), 1U);
    EXPECT_EQ(server.count("GET", "/elsewhere"), 0);
}

TEST_F(BridgeWireTest, aTaskWhoseIdWouldLeadElsewhereIsAnsweredNowhere) {
    for (const char* id : {"@evil.example/x", "x y", "/../../../session"})
        backend.giveTask(taskJson("list_folders", "{}", id));
    start();
    ASSERT_TRUE(waitUntil([&] { return service.tasksServed() == 3 && polls() == 4; }));
    for (const ReceivedRequest& update : updates())
        EXPECT_TRUE(update.target.startsWith("/api/v1/bridge/tasks/")) << update.target.constData();
}

TEST_F(BridgeWireTest, headersCannotBeBrokenOutOf) {
    world.context.nickname = QStringLiteral("pc\r\nX-Injected: yes\u0000\n");
    backend.answerNextPoll(answers::plain(204));
    start();
    ASSERT_TRUE(waitUntil([&] { return polls() == 2; }));
    for (const ReceivedRequest& request : server.requests()) {
        EXPECT_TRUE(request.header("X-Injected").isNull());
        EXPECT_EQ(request.header("X-Bridge-Device-Nickname"), "pcX-Injected: yes");
    }
}

TEST_F(BridgeWireTest, stoppingHangsUpOnTheServer) {
    start();
    ASSERT_TRUE(waitUntil([&] { return polls() == 1; }));
    service.stop();
    EXPECT_TRUE(waitUntil([&] { return server.openConnections() == 0; }));
    EXPECT_EQ(service.status(), Status::off());
}

TEST_F(BridgeWireTest, aHundredTasksInARowUseOneConnectionAndAreAllCounted) {
    for (int task = 0; task < 100; ++task)
        backend.giveTask(taskJson("read", R"({"document_id":"x"})", QByteArray::number(task)));
    start();
    ASSERT_TRUE(waitUntil([&] { return service.tasksServed() == 100 && polls() == 101; }));
    const auto sent = updates();
    ASSERT_EQ(sent.size(), 100U);
    for (int task = 0; task < 100; ++task)
        EXPECT_EQ(sent[static_cast<std::size_t>(task)].target, "/api/v1/bridge/tasks/" + QByteArray::number(task));
    EXPECT_EQ(server.connections(), 1);
}
