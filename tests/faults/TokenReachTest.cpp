#include "faults/FaultBackend.h"
#include "support/Await.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

constexpr Call everyCall[] = {Call::poll, Call::update, Call::revoke, Call::claim};
constexpr Call callsWithToken[] = {Call::poll, Call::update, Call::revoke};

LoopbackOptions with(const ServerCertificate& certificate) {
    LoopbackOptions options;
    options.certificate = certificate;
    return options;
}

class Redirects : public testing::TestWithParam<int> {};

TEST_P(Redirects, areNotFollowedToAnyOtherOrigin) {
    LoopbackServer server(backendServer());
    LoopbackServer otherPort(backendServer());
    LoopbackServer plain({.tls = false});
    FaultBackend backend(server);
    const QUrl targets[] = {otherPort.url(QStringLiteral("/x"), QStringLiteral("api.localhost")),
                            otherPort.url(QStringLiteral("/x"), QStringLiteral("evil.localhost")),
                            otherPort.url(QStringLiteral("/x"), QStringLiteral("127.0.0.1")),
                            plain.url(QStringLiteral("/x"), QStringLiteral("api.localhost")),
                            server.url(QStringLiteral("/x"), QStringLiteral("api.localhost")),
                            QUrl(QStringLiteral("/x"))};
    for (const QUrl& target : targets) {
        server.onRequest(answers::redirect(GetParam(), target));
        for (const Call call : everyCall)
            EXPECT_EQ(backend.outcome(call), "http " + std::to_string(GetParam()) + " moved");
    }
    EXPECT_EQ(otherPort.connections(), 0);
    EXPECT_EQ(plain.connections(), 0);
    for (const ReceivedRequest& request : server.requests())
        EXPECT_NE(request.target, "/x");
}

INSTANTIATE_TEST_SUITE_P(Statuses, Redirects, testing::Values(301, 302, 303, 307, 308));

TEST(TokenReach, whatAnAnswerAdvertisesLeadsNowhere) {
    LoopbackServer server(backendServer());
    LoopbackServer other(backendServer());
    FaultBackend backend(server);
    const QByteArray there = other.url().toEncoded();
    const QByteArray port = QByteArray::number(other.port());
    server.onRequest(answers::plain(500, "no",
                                    "Alt-Svc: h2=\":" + port + "\", http/1.1=\":" + port + "\"; ma=9999\r\n" +
                                        "Set-Cookie: id=1; Path=/; Secure\r\n" + "Refresh: 0; url=" + there + "\r\n" +
                                        "Link: <" + there + ">; rel=preconnect\r\n" +
                                        "WWW-Authenticate: Basic realm=\"x\"\r\n" + "Content-Location: " + there +
                                        "\r\n"));
    for (int round = 0; round < 2; ++round)
        for (const Call call : everyCall)
            EXPECT_EQ(backend.outcome(call), "http 500 no");
    EXPECT_EQ(other.connections(), 0);
    for (const ReceivedRequest& request : server.requests()) {
        EXPECT_TRUE(request.header("Cookie").isNull());
        EXPECT_TRUE(request.header("Authorization").isNull());
    }
}

TEST(TokenReach, aRequestCarriesOnlyWhatWasAskedFor) {
    LoopbackServer server(backendServer());
    FaultBackend backend(server);
    const auto headerNames = [&](Call call) {
        server.onRequest(answers::plain(200, goodBody(call)));
        EXPECT_EQ(backend.outcome(call), "done");
        const auto requests = server.requests();
        if (requests.empty())
            return QByteArray("none");
        QByteArrayList names;
        for (const HttpHeader& header : requests.back().headers)
            if (header.name.toLower() != "host" && header.name.toLower() != "content-length")
                names.append(header.name);
        std::sort(names.begin(), names.end());
        return names.join(' ');
    };
    EXPECT_EQ(headerNames(Call::poll), "X-Bridge-Device-Id X-Bridge-Device-Nickname X-User-Token");
    EXPECT_EQ(headerNames(Call::update), "Content-Type X-Bridge-Device-Id X-Bridge-Device-Nickname X-User-Token");
    EXPECT_EQ(headerNames(Call::revoke), "X-User-Token");
    EXPECT_EQ(headerNames(Call::claim), "Accept Content-Type");
}

TEST(TokenReach, aChainThatDoesNotEndInAPinnedRootGetsNoRequest) {
    const TestAuthority foreign(QStringLiteral("Foreign root"));
    const LoopbackServer server(backendServer(Greeting::handshake, foreign));
    // The machine itself trusts the foreign root; the pins say no.
    const QTemporaryDir systemTrust;
    foreign.installInto(systemTrust.path());
    FaultBackend backend(server, systemTrust.path());
    for (const Call call : everyCall)
        EXPECT_EQ(backend.outcome(call), "tlsRefused");
    EXPECT_TRUE(server.requests().empty());
}

TEST(TokenReach, aCertificateForAnotherNameOrAnotherTimeGetsNoRequest) {
    const TestAuthority& authority = LoopbackServer::authority();
    const TestAuthority::Wish wishes[] = {
        {.names = {QStringLiteral("other.test")}},
        {.names = {QStringLiteral("api.localhost.evil.test"), QStringLiteral("localhost")}},
        {.validFromDays = -9, .validToDays = -1},
        {.validFromDays = 2, .validToDays = 9},
    };
    for (const auto& wish : wishes) {
        const LoopbackServer server(with(authority.issue(wish)));
        FaultBackend backend(server);
        for (const Call call : everyCall)
            EXPECT_EQ(backend.outcome(call), "tlsRefused");
        EXPECT_TRUE(server.requests().empty());
    }
}

TEST(TokenReach, withoutRootsTheApiHostIsOutOfReachAndAnotherHostOfTheDomainStillWorks) {
    const QTemporaryDir systemTrust;
    LoopbackServer::authority().installInto(systemTrust.path());
    LoopbackServer server(backendServer());
    server.onRequest(answers::plain(200));
    FaultBackend backend(server, systemTrust.path(), std::make_shared<const TrustAnchors>());
    EXPECT_EQ(backend.outcome(Call::revoke), "tlsRefused");
    EXPECT_TRUE(server.requests().empty());
    backend.store.set(QStringLiteral("apiBaseURL"), QStringLiteral("https://staging.localhost:%1").arg(server.port()));
    EXPECT_EQ(backend.outcome(Call::revoke), "done");
}

TEST(TokenReach, aConnectionOfAnUnpinnedHostIsNotUsedForThePinnedOne) {
    const TestAuthority foreign(QStringLiteral("Foreign root"));
    const QTemporaryDir systemTrust;
    foreign.installInto(systemTrust.path());
    LoopbackServer server(backendServer(Greeting::handshake, foreign));
    server.onRequest(answers::plain(200));
    FaultBackend backend(server, systemTrust.path());
    backend.store.set(QStringLiteral("apiBaseURL"), QStringLiteral("https://staging.localhost:%1").arg(server.port()));
    EXPECT_EQ(backend.outcome(Call::revoke), "done");
    backend.store.remove(QStringLiteral("apiBaseURL"));
    EXPECT_EQ(backend.outcome(Call::revoke), "tlsRefused");
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST(TokenReach, aPortThatNobodyServesIsRefused) {
    const LoopbackServer server(backendServer());
    FaultBackend backend(server);
    const RefusingPort refusing;
    backend.store.set(QStringLiteral("apiBaseURL"), QStringLiteral("https://api.localhost:%1").arg(refusing.port()));
    for (const Call call : everyCall)
        EXPECT_EQ(backend.outcome(call), "refused");
}

TEST(HeaderHygiene, noControlCharacterMakesAnotherHeader) {
    LoopbackServer server(backendServer());
    FaultBackend backend(server);
    std::vector<char> bytes{127};
    for (char byte = 0; byte < 32; ++byte)
        bytes.push_back(byte);
    for (const char byte : bytes) {
        const QByteArray injection = QByteArray(1, byte) + "X-Injected: yes" + QByteArray(1, byte);
        for (const QByteArray& separator :
             {QByteArray(1, byte), '\r' + QByteArray(1, byte), QByteArray(1, byte) + '\n'}) {
            backend.token = SecretText{"tok" + separator + "X-Injected: yes"};
            backend.headers = {{"X-Bridge-Device-Id", injection},
                               {"X-Bridge-Device-Nickname", "pc" + separator + "X-Injected: a"}};
            for (const Call call : callsWithToken) {
                server.onRequest(answers::plain(200, goodBody(call)));
                const std::string outcome = backend.outcome(call);
                EXPECT_TRUE(outcome == "done" || outcome == "badRequest") << int{byte} << outcome;
            }
        }
    }
    EXPECT_FALSE(server.requests().empty());
    for (const ReceivedRequest& request : server.requests()) {
        EXPECT_TRUE(request.header("X-Injected").isNull());
        EXPECT_TRUE(request.target.startsWith("/api/v1/")) << request.target.constData();
        EXPECT_FALSE(request.raw.contains('\0'));
    }
}

TEST(HeaderHygiene, aTaskIdCannotLeaveThePathOfItsRequest) {
    LoopbackServer server(backendServer());
    LoopbackServer other(backendServer());
    FaultBackend backend(server);
    const QByteArray port = QByteArray::number(other.port());
    for (const QByteArray& id :
         {QByteArray("../../../../x"), QByteArray("..%2f..%2fx"), "@api.localhost:" + port + "/", ":" + port + "/x",
          "//api.localhost:" + port + "/", QByteArray("?a=b"), QByteArray("#f"), "https://api.localhost:" + port + "/",
          QByteArray("%0d%0aX-Injected: yes"), QByteArray("%0d%0aX-Injected:yes"), QByteArray("a\r\nX-Injected: yes"),
          QByteArray("a b"), QByteArray("a HTTP/1.1\r\n\r\nGET /x HTTP/1.1\r\n"), QByteArray("\xC3\xA9"),
          QByteArray(60 * 1024, 'a'), QByteArray(1024 * 1024, 'a')}) {
        const std::string outcome = backend.update(QString::fromUtf8(id));
        EXPECT_TRUE(outcome == "done" || outcome == "badRequest") << outcome;
    }
    EXPECT_EQ(other.connections(), 0);
    EXPECT_FALSE(server.requests().empty());
    for (const ReceivedRequest& request : server.requests()) {
        EXPECT_EQ(request.method, "PATCH");
        EXPECT_TRUE(request.target.startsWith('/')) << request.target.left(80).constData();
        EXPECT_TRUE(request.header("X-Injected").isNull());
    }
}

} // namespace
} // namespace vennic::test
