#include "backend/VennicHTTP.h"

#include "fakes/HttpTransportFake.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

struct Http : testing::Test {
    test::HttpTransportFake transport;
    std::shared_ptr<const TrustAnchors> anchors = std::make_shared<TrustAnchors>(TrustAnchors{{"root"}});
    VennicHTTP http{transport, QStringLiteral("api.vennic.test"), anchors};
    int failures = 0;

    Http() {
        QObject::connect(&http.authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure, [this] { ++failures; });
    }
    static HttpRequest request(const char* url) {
        HttpRequest request;
        request.url = QUrl(QLatin1String(url));
        return request;
    }
    std::shared_ptr<const TrustAnchors> anchorsFor(const char* url) {
        transport.answerWith(200);
        test::await(http.data(request(url)));
        return transport.requests.back().anchors;
    }
};

TEST_F(Http, onlyTheApiHostIsPinned) {
    EXPECT_EQ(anchorsFor("https://api.vennic.test/x"), anchors);
    EXPECT_EQ(anchorsFor("https://API.Vennic.TEST:8443/"), anchors);
    EXPECT_EQ(anchorsFor("https://staging.vennic.test/"), nullptr);
    EXPECT_EQ(anchorsFor("https://vennic.test/"), nullptr);
    EXPECT_EQ(anchorsFor("https://a.api.vennic.test/"), nullptr);
    EXPECT_EQ(anchorsFor("https://api.vennic.test.evil.test/"), nullptr);
}

TEST_F(Http, anchorsThatACallerBringsDontCount) {
    auto foreign = request("https://staging.vennic.test/");
    foreign.anchors = std::make_shared<TrustAnchors>(TrustAnchors{{"foreign"}});
    transport.answerWith(200);
    test::await(http.data(std::move(foreign)));
    EXPECT_EQ(transport.requests.back().anchors, nullptr);
}

TEST_F(Http, withoutRootsTheApiHostTrustsNobodyAndOthersStillWork) {
    VennicHTTP bare{transport, QStringLiteral("api.vennic.test"), nullptr};
    transport.answerWith(200);
    test::await(bare.data(request("https://api.vennic.test/")));
    ASSERT_NE(transport.requests.back().anchors, nullptr);
    EXPECT_TRUE(transport.requests.back().anchors->ders.empty());
    transport.answerWith(200);
    test::await(bare.data(request("https://staging.vennic.test/")));
    EXPECT_EQ(transport.requests.back().anchors, nullptr);
}

TEST_F(Http, a401IsAnnouncedAndHandedBack) {
    transport.answerWith(401, "expired");
    const auto response = test::await(http.vennicData(request("https://api.vennic.test/")));
    EXPECT_EQ(response.status, 401);
    EXPECT_EQ(response.body, "expired");
    EXPECT_EQ(failures, 1);
}

TEST_F(Http, noOtherAnswerIsAnnounced) {
    std::vector<HttpResponse> answers{HttpResponse{}};
    for (const int status : {200, 204, 400, 402, 403, 404, 407, 500})
        answers.push_back({status, {}, {}});
    for (const auto& answer : answers) {
        transport.answerWith(answer);
        EXPECT_EQ(test::await(http.vennicData(request("https://api.vennic.test/"))).status, answer.status);
    }
    EXPECT_EQ(failures, 0);
}

TEST_F(Http, plainDataAnnouncesNothing) {
    transport.answerWith(401);
    EXPECT_EQ(test::await(http.data(request("https://api.vennic.test/"))).status, 401);
    EXPECT_EQ(failures, 0);
}

TEST_F(Http, anErrorOfTheTransportPassesWithoutAnnouncement) {
    transport.failWith(TransportFault::tlsRefused);
    try {
        test::await(http.vennicData(request("https://api.vennic.test/")));
        FAIL();
    } catch (const TransportError& error) {
        EXPECT_EQ(error.fault(), TransportFault::tlsRefused);
    }
    EXPECT_EQ(failures, 0);
}

} // namespace
} // namespace vennic
