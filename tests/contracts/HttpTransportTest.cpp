#include "fakes/HttpTransportFake.h"
#include "linux/HttpTransportCurl.h"
#include "support/Answers.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

/// A transport and whoever answers it.
class World {
public:
    virtual ~World() = default;
    virtual HttpTransport& transport() = 0;
    virtual HttpRequest request() = 0; // one that the transport can send
    virtual void answerWith(int status, const QByteArray& body, const QByteArray& headerName,
                            const QByteArray& headerValue) = 0;
    virtual void failWithCutOff() = 0;
    virtual void failWithNoAnswer() = 0;
    virtual void hold() = 0; // the next request gets no answer
    virtual bool requestIsWaiting() = 0;
};

class FakeWorld final : public World {
public:
    HttpTransport& transport() override { return fake_; }
    HttpRequest request() override { return {.url = QUrl(QStringLiteral("https://backend.example/"))}; }
    void answerWith(int status, const QByteArray& body, const QByteArray& name, const QByteArray& value) override {
        fake_.answerWith(status, body, {{name, value}});
    }
    void failWithCutOff() override { fake_.failWith(TransportFault::cutOff); }
    void failWithNoAnswer() override { fake_.failWith(TransportFault::cutOff); }
    void hold() override { fake_.hold(); }
    bool requestIsWaiting() override { return fake_.waiting() == 1; }

private:
    HttpTransportFake fake_;
};

class RealWorld final : public World {
public:
    HttpTransport& transport() override { return transport_; }
    HttpRequest request() override { return {.url = server_.url(), .anchors = LoopbackServer::authority().anchors()}; }
    void answerWith(int status, const QByteArray& body, const QByteArray& name, const QByteArray& value) override {
        server_.onRequest(answers::plain(status, body, name + ": " + value + "\r\n"));
    }
    void failWithCutOff() override {
        server_.onRequest(answers::bytesThenCut("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"));
    }
    void failWithNoAnswer() override { server_.onRequest(answers::bytesThenCut({})); }
    void hold() override { server_.onRequest(answers::bytesThenSilence({})); }
    bool requestIsWaiting() override { return server_.requests().size() == 1; }

private:
    LoopbackServer server_;
    HttpTransportCurl transport_;
};

struct Outcome {
    std::optional<HttpResponse> response;
    bool cancelled = false;
};

Task<> keepOutcome(HttpTransport* transport, HttpRequest request, Outcome* outcome) {
    try {
        outcome->response = co_await transport->send(std::move(request));
    } catch (const Cancelled&) {
        outcome->cancelled = true;
        throw;
    }
}

} // namespace

template <class W>
class HttpTransportContract : public testing::Test {
protected:
    W world_;
};
using Worlds = testing::Types<FakeWorld, RealWorld>;
TYPED_TEST_SUITE(HttpTransportContract, Worlds);

TYPED_TEST(HttpTransportContract, anAnswerHasItsStatusHeadersAndBody) {
    this->world_.answerWith(201, "made", "X-Kind", "folder");
    const auto response = await(this->world_.transport().send(this->world_.request()));
    EXPECT_EQ(response.status, 201);
    EXPECT_EQ(response.body, "made");
    EXPECT_NE(std::find(response.headers.begin(), response.headers.end(), HttpHeader{"X-Kind", "folder"}),
              response.headers.end());
}

TYPED_TEST(HttpTransportContract, aStatusThatMeansFailureIsAnAnswer) {
    this->world_.answerWith(503, "later", "Retry-After", "9");
    EXPECT_EQ(await(this->world_.transport().send(this->world_.request())).status, 503);
}

TYPED_TEST(HttpTransportContract, aFailureOfTheWireRaisesItsFault) {
    this->world_.failWithCutOff();
    try {
        await(this->world_.transport().send(this->world_.request()));
        FAIL() << "an answer came";
    } catch (const TransportError& error) {
        EXPECT_EQ(error.fault(), TransportFault::cutOff);
        EXPECT_EQ(error.errorDescription(), QStringLiteral("La connexion au serveur a été coupée."));
    }
}

TYPED_TEST(HttpTransportContract, aStreamGivesItsStatusAndItsBodyWhole) {
    const QByteArray body(100'000, 'b');
    this->world_.answerWith(200, body, "X-Kind", "stream");
    const auto stream = await(this->world_.transport().open(this->world_.request()));
    EXPECT_EQ(stream->status(), 200);
    QByteArray all;
    while (const auto piece = await(stream->next())) {
        EXPECT_FALSE(piece->isEmpty());
        all += *piece;
    }
    EXPECT_EQ(all, body);
    EXPECT_FALSE(await(stream->next()));
}

TYPED_TEST(HttpTransportContract, aStreamThatCanNotBeginRaisesItsFault) {
    this->world_.failWithNoAnswer();
    EXPECT_THROW(await(this->world_.transport().open(this->world_.request())), TransportError);
}

TYPED_TEST(HttpTransportContract, aCancelledJobEndsItsRequest) {
    this->world_.hold();
    Outcome outcome;
    Scope scope;
    Job job = scope.start(keepOutcome(&this->world_.transport(), this->world_.request(), &outcome));
    ASSERT_TRUE(waitUntil([&] { return this->world_.requestIsWaiting(); }));
    job.cancel();
    ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_FALSE(outcome.response);
}

TYPED_TEST(HttpTransportContract, aDroppedScopeEndsItsRequest) {
    this->world_.hold();
    Outcome outcome;
    {
        Scope scope;
        scope.start(keepOutcome(&this->world_.transport(), this->world_.request(), &outcome));
        ASSERT_TRUE(waitUntil([&] { return this->world_.requestIsWaiting(); }));
    }
    EXPECT_FALSE(outcome.response);
}

} // namespace vennic::test
