#include "linux/HttpTransportCurl.h"
#include "support/Answers.h"
#include "support/Await.h"

#include <future>
#include <gtest/gtest.h>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

struct HttpStreamTest : testing::Test {
    LoopbackServer server;
    HttpTransportCurl transport;

    HttpRequest request(std::chrono::milliseconds timeout = 20s) {
        return {.method = "POST",
                .url = server.url(),
                .body = "{}",
                .timeout = timeout,
                .anchors = LoopbackServer::authority().anchors()};
    }
    std::unique_ptr<HttpStream> open(HttpRequest request) { return await(transport.open(std::move(request))); }
    /// Reads to the end; the fault that came instead of it.
    static std::optional<TransportFault> readOut(HttpStream& stream, QByteArray* all) {
        try {
            while (const auto piece = await(stream.next()))
                *all += *piece;
            return std::nullopt;
        } catch (const TransportError& error) {
            return error.fault();
        }
    }
};

TEST_F(HttpStreamTest, bytesAreThereBeforeTheAnswerEnds) {
    std::promise<void> seen;
    server.onRequest([&](Wire& wire, const ReceivedRequest&) {
        wire.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nfirst\r\n");
        seen.get_future().wait();
        wire.send("6\r\nsecond\r\n0\r\n\r\n");
    });
    const auto stream = open(request());
    EXPECT_EQ(stream->status(), 200);
    EXPECT_EQ(await(stream->next()), QByteArray("first"));
    seen.set_value();
    QByteArray rest;
    EXPECT_EQ(readOut(*stream, &rest), std::nullopt);
    EXPECT_EQ(rest, "second");
}

TEST_F(HttpStreamTest, theHeadIsThereBeforeTheFirstByteOfTheBody) {
    server.onRequest(answers::bytesThenSilence("HTTP/1.1 202 OK\r\nContent-Length: 5\r\n\r\n"));
    EXPECT_EQ(open(request())->status(), 202);
}

TEST_F(HttpStreamTest, anAnswerWithoutABodyEndsAtOnce) {
    server.onRequest(answers::bytes("HTTP/1.1 204 None\r\n\r\n"));
    const auto stream = open(request());
    EXPECT_EQ(stream->status(), 204);
    EXPECT_FALSE(await(stream->next()));
}

TEST_F(HttpStreamTest, whatIsNotHttpHasNoStatus) {
    server.onRequest(answers::bytesThenClose("garbage\n"));
    const auto stream = open(request());
    EXPECT_EQ(stream->status(), std::nullopt);
}

TEST_F(HttpStreamTest, aConnectionThatBreaksInTheMiddleRaisesItAfterWhatCame) {
    server.onRequest(answers::bytesThenCut("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    const auto stream = open(request());
    QByteArray all;
    EXPECT_EQ(readOut(*stream, &all), TransportFault::cutOff);
    EXPECT_EQ(all, "half");
}

TEST_F(HttpStreamTest, aStreamThatFallsSilentTimesOut) {
    server.onRequest(answers::bytesThenSilence("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    const auto stream = open(request(200ms));
    QByteArray all;
    EXPECT_EQ(readOut(*stream, &all), TransportFault::timedOut);
}

TEST_F(HttpStreamTest, timeThatTheReaderTakesIsNotThePeers) {
    const QByteArray body(2 * 1024 * 1024, 'b');
    server.onRequest(answers::plain(200, body));
    const auto stream = open(request(300ms));
    QByteArray all = await(stream->next()).value_or(QByteArray());
    waitUntil([] { return false; }, 1500ms); // longer than the peer may be silent, and than the whole may take
    EXPECT_EQ(readOut(*stream, &all), std::nullopt);
    EXPECT_EQ(all.size(), body.size());
}

TEST_F(HttpStreamTest, aStreamThatDripsForeverEndsToo) {
    server.onRequest([](Wire& wire, const ReceivedRequest& received) {
        wire.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
        answers::drip(QByteArray(100'000, 'x'), 20ms)(wire, received);
    });
    const auto stream = open(request(100ms));
    QByteArray all;
    EXPECT_EQ(readOut(*stream, &all), TransportFault::timedOut);
}

TEST_F(HttpStreamTest, aStreamThatMayTakeLongTakesLong) {
    constexpr int pieces = 80;
    server.onRequest([](Wire& wire, const ReceivedRequest& received) {
        wire.send("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(pieces) + "\r\n\r\n");
        answers::drip(QByteArray(pieces, 'x'), 25ms)(wire, received);
    });
    HttpRequest patient = request(400ms);
    patient.deadline = 1h; // instead of four times the silence, which is less than the drip takes
    const auto stream = open(std::move(patient));
    QByteArray all;
    EXPECT_EQ(readOut(*stream, &all), std::nullopt);
    EXPECT_EQ(all.size(), pieces);
}

TEST_F(HttpStreamTest, moreThanItsCeilingIsRefused) {
    server.onRequest(answers::endlessBody());
    HttpRequest bounded = request();
    bounded.maxAnswerBytes = 3 * 1024 * 1024;
    const auto stream = open(std::move(bounded));
    QByteArray all;
    EXPECT_EQ(readOut(*stream, &all), TransportFault::tooLarge);
    EXPECT_LE(all.size(), 3 * 1024 * 1024);
}

TEST_F(HttpStreamTest, whatNobodyTakesStaysOnTheWireAndArrivesWhole) {
    const QByteArray body(8 * 1024 * 1024, 'b');
    server.onRequest(answers::plain(200, body));
    const auto stream = open(request());
    // The first piece is taken late: it holds what was kept meanwhile.
    ASSERT_TRUE(waitUntil([&] { return server.requests().size() == 1; }));
    QByteArray all;
    bool first = true;
    while (const auto piece = await(stream->next())) {
        if (std::exchange(first, false))
            EXPECT_LT(piece->size(), 512 * 1024);
        all += *piece;
    }
    EXPECT_EQ(all.size(), body.size());
}

TEST_F(HttpStreamTest, droppingAStreamClosesItsConnection) {
    server.onRequest(answers::bytesThenSilence("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    auto stream = open(request());
    stream.reset();
    EXPECT_TRUE(waitUntil([&] { return server.openConnections() == 0; }));
}

TEST_F(HttpStreamTest, aCancelledReaderGetsNothingMore) {
    server.onRequest(answers::bytesThenSilence("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    const auto stream = open(request());
    EXPECT_EQ(await(stream->next()), QByteArray("half"));
    Scope scope;
    Job job = scope.start([](HttpStream* stream) -> Task<> { co_await stream->next(); }(stream.get()));
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
}

TEST_F(HttpStreamTest, anUnpinnedRootIsRefused) {
    HttpRequest unpinned = request();
    unpinned.anchors = nullptr;
    EXPECT_THROW(open(std::move(unpinned)), TransportError);
    EXPECT_TRUE(server.requests().empty());
}

} // namespace
} // namespace vennic::test
