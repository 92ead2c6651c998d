#include "linux/HttpTransportCurl.h"
#include "linux/StuckResolver.h"
#include "support/Answers.h"
#include "support/Await.h"

#include <QDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

namespace vennic::test {

namespace {

int openDescriptors() {
    return static_cast<int>(
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

Task<> sendAndForget(HttpTransport* transport, HttpRequest request) {
    try {
        co_await transport->send(std::move(request));
    } catch (const TransportError&) { // NOLINT(bugprone-empty-catch): its end is what these tests watch
    }
}

} // namespace

class HttpTransportCancelTest : public testing::Test {
protected:
    HttpRequest request() {
        HttpRequest get;
        get.url = server_.url();
        get.anchors = LoopbackServer::authority().anchors();
        return get;
    }
    LoopbackServer server_;
    std::optional<HttpTransportCurl> transport_{std::in_place};
};

TEST_F(HttpTransportCancelTest, cancellingClosesTheConnection) {
    server_.onRequest(answers::bytesThenSilence("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    Scope scope;
    Job job = scope.start(sendAndForget(&*transport_, request()));
    ASSERT_TRUE(waitUntil([&] { return server_.requests().size() == 1; }));
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0 && server_.openConnections() == 0; }));
}

TEST_F(HttpTransportCancelTest, whatWasCancelledIsNotSentLater) {
    Scope scope;
    scope.start(sendAndForget(&*transport_, request())).cancel();
    ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    await(transport_->send(request()));
    EXPECT_EQ(server_.requests().size(), 1u);
}

TEST_F(HttpTransportCancelTest, aHundredCancelledRequestsLeaveNoDescriptorBehind) {
    server_.onRequest(answers::bytesThenSilence({}));
    const int before = openDescriptors();
    for (std::size_t round = 1; round <= 100; ++round) {
        Scope scope;
        scope.start(sendAndForget(&*transport_, request()));
        ASSERT_TRUE(waitUntil([&] { return server_.requests().size() == round; }));
    }
    EXPECT_TRUE(waitUntil([&] { return server_.openConnections() == 0 && openDescriptors() <= before; }));
}

TEST_F(HttpTransportCancelTest, theTransportMayGoBeforeItsRequests) {
    server_.onRequest([](Wire& wire, const ReceivedRequest&) {
        wire.pause(std::chrono::milliseconds{50});
        wire.send(answerBytes(200, "late"));
    });
    Scope scope;
    scope.start(sendAndForget(&*transport_, request()));
    ASSERT_TRUE(waitUntil([&] { return server_.requests().size() == 1; }));
    transport_.reset();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
}

TEST_F(HttpTransportCancelTest, aNameLookupThatHangsHoldsUpNobody) {
    StuckResolver resolver;
    HttpRequest stuck;
    stuck.url = QUrl(QStringLiteral("https://stuck.test/"));
    Scope scope;
    Job job = scope.start(sendAndForget(&*transport_, stuck));
    ASSERT_TRUE(waitUntil([&] { return resolver.lookups() == 1; }));
    await(transport_->send(request())); // another request passes meanwhile
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    scope.start(sendAndForget(&*transport_, stuck));
    ASSERT_TRUE(waitUntil([&] { return resolver.lookups() == 2; }));
    transport_.reset();
}

TEST_F(HttpTransportCancelTest, aNameLookupThatHangsTimesOut) {
    StuckResolver resolver;
    HttpRequest stuck;
    stuck.url = QUrl(QStringLiteral("https://stuck.test/"));
    stuck.timeout = std::chrono::milliseconds{100};
    try {
        await(transport_->send(stuck));
        FAIL() << "an answer came";
    } catch (const TransportError& error) {
        EXPECT_EQ(error.fault(), TransportFault::timedOut);
    }
}

TEST_F(HttpTransportCancelTest, anUnknownNameIsToldApart) {
    HttpRequest unknown;
    unknown.url = QUrl(QStringLiteral("https://stuck.test/")); // nothing is stuck: it fails at once
    try {
        await(transport_->send(unknown));
        FAIL() << "an answer came";
    } catch (const TransportError& error) {
        // On a machine without any interface that is up the cause is the network.
        EXPECT_TRUE(error.fault() == TransportFault::nameNotFound || error.fault() == TransportFault::noNetwork);
    }
}

TEST_F(HttpTransportCancelTest, programsThatAreStartedInheritNoConnection) {
    await(transport_->send(request()));
    int sockets = 0;
    for (int fd = 0; fd < 1024; ++fd) {
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0 || address.ss_family != AF_INET)
            continue;
        ++sockets;
        EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC) << fd;
    }
    EXPECT_GE(sockets, 2);
}

} // namespace vennic::test
