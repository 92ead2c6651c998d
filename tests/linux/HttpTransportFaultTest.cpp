#include "linux/HttpTransportFixture.h"

#include <QElapsedTimer>

namespace vennic::test {

using namespace std::chrono_literals;

class HttpTransportFaultTest : public HttpTransportFixture {
protected:
    HttpRequest request(const QByteArray& method = "GET", std::chrono::milliseconds timeout = 20s) {
        return {.method = method, .url = server_.url(), .timeout = timeout, .anchors = anchors_};
    }
    std::optional<TransportFault> faultAfter(const AnswerScript& script) {
        server_.onRequest(script);
        return faultOf(request());
    }
    std::optional<TransportFault> faultOfGreeting(Greeting greeting, std::chrono::milliseconds timeout = 20s) {
        LoopbackServer server({.greeting = greeting});
        return faultOf({.url = server.url(), .timeout = timeout, .anchors = anchors_});
    }
};

TEST_F(HttpTransportFaultTest, aPortThatNobodyServesIsRefused) {
    const RefusingPort refusing;
    EXPECT_EQ(faultOf({.url = QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(refusing.port()))}),
              TransportFault::refused);
}

TEST_F(HttpTransportFaultTest, aPeerThatLeavesBeforeTlsIsCutOff) {
    EXPECT_EQ(faultOfGreeting(Greeting::closeAtOnce), TransportFault::cutOff);
    EXPECT_EQ(faultOfGreeting(Greeting::resetAtOnce), TransportFault::cutOff);
    EXPECT_EQ(faultOfGreeting(Greeting::closeInFlight), TransportFault::cutOff);
}

TEST_F(HttpTransportFaultTest, aPeerThatSaysNothingTimesOut) {
    EXPECT_EQ(faultOfGreeting(Greeting::silence, 200ms), TransportFault::timedOut);
}

TEST_F(HttpTransportFaultTest, aPeerWithoutTlsOrWithAnOldOneIsRefused) {
    EXPECT_EQ(faultOfGreeting(Greeting::garbage), TransportFault::tlsRefused);
    EXPECT_EQ(faultOfGreeting(Greeting::tls11Only), TransportFault::tlsRefused);
}

TEST_F(HttpTransportFaultTest, anAnswerCutShortIsCutOff) {
    const QByteArray whole = answerBytes(200, "a body of some length");
    const qsizetype bodyAt = whole.indexOf("a body");
    EXPECT_EQ(faultAfter(answers::bytesThenCut({})), TransportFault::cutOff);
    EXPECT_EQ(faultAfter(answers::bytesThenReset({})), TransportFault::cutOff);
    EXPECT_EQ(faultAfter(answers::bytesThenClose({})), TransportFault::cutOff);
    for (const qsizetype at : {bodyAt, bodyAt + 5, whole.size() - 1}) {
        EXPECT_EQ(faultAfter(answers::bytesThenCut(whole.first(at))), TransportFault::cutOff) << at;
        EXPECT_EQ(faultAfter(answers::bytesThenReset(whole.first(at))), TransportFault::cutOff) << at;
        EXPECT_EQ(faultAfter(answers::bytesThenClose(whole.first(at))), TransportFault::cutOff) << at;
    }
}

TEST_F(HttpTransportFaultTest, aHeaderCutAtAnyByteNeverCountsAsSuccess) {
    const QByteArray head = "HTTP/1.1 200 OK\r\nX-A: b\r\nContent-Length: 2\r\n\r\n";
    for (qsizetype at = 1; at < head.size(); ++at) {
        server_.onRequest(answers::bytesThenClose(head.first(at)));
        try {
            const auto response = send(request());
            EXPECT_FALSE(response.status && *response.status == 200) << at;
        } catch (const TransportError&) { // NOLINT(bugprone-empty-catch): no success either
        }
    }
}

TEST_F(HttpTransportFaultTest, aBodyWithoutLengthEndsWithTheConnection) {
    server_.onRequest(answers::bytesThenClose("HTTP/1.1 200 OK\r\n\r\nall of it"));
    EXPECT_EQ(send(request()).body, "all of it");
}

TEST_F(HttpTransportFaultTest, aBrokenChunkIsABadAnswer) {
    EXPECT_EQ(faultAfter(answers::bytesThenClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nab\r\n")),
              TransportFault::badAnswer);
}

TEST_F(HttpTransportFaultTest, chunksAreJoinedAndTheirTrailersDropped) {
    server_.onRequest(answers::bytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                     "3\r\nabc\r\n2\r\nde\r\n0\r\nX-Late: yes\r\n\r\n"));
    const auto response = send(request());
    EXPECT_EQ(response.body, "abcde");
    EXPECT_EQ(response.headers.size(), 1u);
}

TEST_F(HttpTransportFaultTest, chunksThatEndEarlyAreCutOff) {
    EXPECT_EQ(faultAfter(answers::bytesThenClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\nabc")),
              TransportFault::cutOff);
}

TEST_F(HttpTransportFaultTest, whatIsNotHttpHasNoStatus) {
    server_.onRequest(answers::bytesThenClose("220 mail.example ESMTP ready\r\n"));
    const auto response = send(request());
    EXPECT_FALSE(response.status);
    EXPECT_EQ(response.body, "220 mail.example ESMTP ready\r\n");
}

TEST_F(HttpTransportFaultTest, binaryGarbageHasNoStatus) {
    QByteArray garbage;
    for (int i = 0; i < 4096; ++i)
        garbage += static_cast<char>((i * 7919) >> 3);
    server_.onRequest(answers::bytesThenClose(garbage));
    EXPECT_FALSE(send(request()).status);
}

TEST_F(HttpTransportFaultTest, endlessGarbageIsTooLarge) {
    server_.onRequest([](Wire& wire, const ReceivedRequest&) {
        while (wire.send(QByteArray(1 << 16, '\xfe'))) {
        }
    });
    EXPECT_EQ(faultOf(request()), TransportFault::tooLarge);
}

TEST_F(HttpTransportFaultTest, aCorruptedRecordIsCutOff) {
    EXPECT_EQ(faultAfter(answers::corruptedTls()), TransportFault::cutOff);
}

TEST_F(HttpTransportFaultTest, anEndlessHeaderIsTooLarge) {
    EXPECT_EQ(faultAfter(answers::endlessHeader()), TransportFault::tooLarge);
    EXPECT_EQ(faultAfter(answers::endlessHeaderLine()), TransportFault::tooLarge);
}

TEST_F(HttpTransportFaultTest, aHeaderOfManyInterimAnswersIsTooLarge) {
    server_.onRequest([](Wire& wire, const ReceivedRequest&) {
        while (wire.send("HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n")) {
        }
    });
    EXPECT_EQ(faultOf(request()), TransportFault::tooLarge);
}

TEST_F(HttpTransportFaultTest, aBodyAboveTheCeilingIsTooLarge) {
    EXPECT_EQ(faultAfter(answers::hugeBody(512LL << 20, 0)), TransportFault::tooLarge); // told by its length alone
    EXPECT_EQ(faultAfter(answers::endlessBody()), TransportFault::tooLarge);
}

TEST_F(HttpTransportFaultTest, aBodyOfExactlyTheCeilingPasses) {
    server_.onRequest(answers::hugeBody(1000, 1000));
    auto get = request();
    get.maxAnswerBytes = 1000;
    EXPECT_EQ(send(std::move(get)).body.size(), 1000);
    get = request();
    get.maxAnswerBytes = 999;
    EXPECT_EQ(faultOf(std::move(get)), TransportFault::tooLarge);
}

TEST_F(HttpTransportFaultTest, silenceAfterTheRequestTimesOut) {
    server_.onRequest(answers::bytesThenSilence({}));
    EXPECT_EQ(faultOf(request("GET", 150ms)), TransportFault::timedOut);
    server_.onRequest(answers::bytesThenSilence("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    EXPECT_EQ(faultOf(request("GET", 150ms)), TransportFault::timedOut);
}

TEST_F(HttpTransportFaultTest, eachByteBeginsTheSilenceAnew) {
    // 60 pauses of 20 ms are longer than the silence that is allowed, and shorter than four times that.
    server_.onRequest(answers::drip(answerBytes(200, QByteArray(20, 'x')), 20ms));
    EXPECT_EQ(send(request("GET", 1s)).body, QByteArray(20, 'x'));
}

TEST_F(HttpTransportFaultTest, aDripThatNeverEndsMeetsTheTotalDeadline) {
    server_.onRequest(answers::drip(answerBytes(200, QByteArray(100000, 'x')), 10ms));
    EXPECT_EQ(faultOf(request("GET", 200ms)), TransportFault::timedOut);
}

TEST_F(HttpTransportFaultTest, aDeadlineOfItsOwnEndsADripLongBeforeItsSilenceWould) {
    server_.onRequest(answers::drip(answerBytes(200, QByteArray(100000, 'x')), 10ms));
    HttpRequest hurried = request("GET", 1h);
    hurried.deadline = 200ms;
    EXPECT_EQ(faultOf(std::move(hurried)), TransportFault::timedOut);
}

TEST_F(HttpTransportFaultTest, anUploadThatNobodyReadsTimesOut) {
    server_.onConnection([](Wire& wire) { wire.hold(); });
    auto post = request("POST", 200ms);
    post.body = QByteArray(8 << 20, 'v');
    EXPECT_EQ(faultOf(std::move(post)), TransportFault::timedOut);
}

TEST_F(HttpTransportFaultTest, answersWithoutBodyEndAtTheirHeader) {
    for (const int status : {204, 304}) {
        server_.onRequest(answers::bytes("HTTP/1.1 " + QByteArray::number(status) + " None\r\n\r\n"));
        const auto response = send(request());
        EXPECT_EQ(response.status, status);
        EXPECT_TRUE(response.body.isEmpty());
    }
    EXPECT_EQ(server_.connections(), 1);
}

TEST_F(HttpTransportFaultTest, anInterimAnswerIsPassedOver) {
    server_.onRequest(answers::bytes("HTTP/1.1 100 Continue\r\nX-Interim: a\r\n\r\n" + answerBytes(200, "done")));
    const auto response = send(request());
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "done");
    EXPECT_EQ(response.headers.size(), 1u);
}

TEST_F(HttpTransportFaultTest, anInterimAnswerThatStaysAloneIsNoSuccess) {
    server_.onRequest(answers::bytesThenClose("HTTP/1.1 199 Odd\r\n\r\n"));
    EXPECT_EQ(send(request()).status, 199);
}

TEST_F(HttpTransportFaultTest, ofTwoAnswersTheFirstCountsAndTheSecondReachesNobody) {
    server_.onRequest([](Wire& wire, const ReceivedRequest& request) {
        wire.send(answerBytes(200, request.target) + answerBytes(200, "smuggled"));
    });
    auto first = request();
    first.url = server_.url(QStringLiteral("/first"));
    EXPECT_EQ(send(std::move(first)).body, "/first");
    auto second = request();
    second.url = server_.url(QStringLiteral("/second"));
    EXPECT_EQ(send(std::move(second)).body, "/second");
}

TEST_F(HttpTransportFaultTest, aRequestThatArrivedIsNotSentAgainOnAFreshConnection) {
    for (const QByteArray& method :
         {QByteArray("GET"), QByteArray("POST"), QByteArray("PATCH"), QByteArray("DELETE")}) {
        LoopbackServer server;
        server.onRequest(answers::bytesThenCut({}));
        HttpRequest asked{.method = method, .url = server.url(), .anchors = anchors_};
        if (method == "POST" || method == "PATCH")
            asked.body = "{\"n\":1}";
        EXPECT_EQ(faultOf(std::move(asked)), TransportFault::cutOff);
        EXPECT_EQ(server.count(method, "/"), 1) << method.constData();
    }
}

TEST_F(HttpTransportFaultTest, aRequestThatArrivedIsNotSentAgainOnAReusedConnection) {
    for (const char* body : {"", "{\"n\":1}"}) {
        for (const QByteArray& method : {QByteArray("POST"), QByteArray("PATCH"), QByteArray("DELETE")}) {
            for (const auto& end :
                 {answers::bytesThenCut({}), answers::bytesThenReset({}), answers::bytesThenClose({})}) {
                LoopbackServer server;
                send({.url = server.url(), .anchors = anchors_});
                server.onRequest(end);
                HttpRequest asked{.method = method, .url = server.url(), .anchors = anchors_};
                if (*body)
                    asked.body = body;
                EXPECT_EQ(faultOf(std::move(asked)), TransportFault::cutOff);
                EXPECT_EQ(server.count(method, "/"), 1) << method.constData();
            }
        }
    }
}

TEST_F(HttpTransportFaultTest, aGetIsRepeatedOnceAtMost) {
    send(request());
    server_.onRequest(answers::bytesThenCut({}));
    auto get = request();
    get.url = server_.url(QStringLiteral("/again"));
    EXPECT_EQ(faultOf(std::move(get)), TransportFault::cutOff);
    EXPECT_LE(server_.count("GET", "/again"), 2);
}

TEST_F(HttpTransportFaultTest, aPeerThatLeavesDuringALargeUploadDoesNotEndTheProgram) {
    server_.onConnection([](Wire& wire) { wire.reset(); });
    auto post = request("POST");
    post.body = QByteArray(8 << 20, 'v');
    EXPECT_EQ(faultOf(std::move(post)), TransportFault::cutOff);
}

} // namespace vennic::test
