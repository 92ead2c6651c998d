#include "linux/HttpTransportCurl.h"
#include "support/Answers.h"
#include "support/Await.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <openssl/ssl.h>

namespace vennic::test {

namespace {

/// The version that a server on loopback settles on with a client that takes any.
int offeredVersion(quint16 port) {
    SSL_CTX* context = SSL_CTX_new(TLS_client_method());
    SSL_CTX_set_min_proto_version(context, TLS1_VERSION);
    SSL_CTX_set_cipher_list(context, "DEFAULT:@SECLEVEL=0");
    BIO* peer = BIO_new_ssl_connect(context);
    BIO_set_conn_hostname(peer, ("127.0.0.1:" + QByteArray::number(port)).constData());
    SSL* session = nullptr;
    BIO_get_ssl(peer, &session);
    const int version = BIO_do_connect(peer) == 1 ? SSL_version(session) : 0;
    BIO_free_all(peer);
    SSL_CTX_free(context);
    return version;
}

} // namespace

class HttpTransportTrustTest : public testing::Test {
protected:
    HttpTransportTrustTest() { LoopbackServer::authority().installInto(systemFolder_.path()); }

    std::optional<TransportFault> faultOf(const QUrl& url, std::shared_ptr<const TrustAnchors> anchors) {
        try {
            HttpRequest get;
            get.url = url;
            get.anchors = std::move(anchors);
            get.secretHeaders.push_back({"X-User-Token", SecretText("s3cret")});
            await(transport_.send(std::move(get)));
            return std::nullopt;
        } catch (const TransportError& error) {
            return error.fault();
        }
    }
    static LoopbackOptions with(const ServerCertificate& certificate) {
        LoopbackOptions options;
        options.certificate = certificate;
        return options;
    }

    QTemporaryDir systemFolder_;
    HttpTransportCurl transport_{systemFolder_.path()};
    TestAuthority foreign_{QStringLiteral("Foreign root")};
    std::shared_ptr<const TrustAnchors> good_ = LoopbackServer::authority().anchors();
};

TEST_F(HttpTransportTrustTest, withoutAnchorsTheSystemsStoreDecides) {
    LoopbackServer known;
    LoopbackServer unknown(with(foreign_.issue()));
    EXPECT_EQ(faultOf(known.url(), nullptr), std::nullopt);
    EXPECT_EQ(faultOf(unknown.url(), nullptr), TransportFault::tlsRefused);
    EXPECT_TRUE(unknown.requests().empty());
}

TEST_F(HttpTransportTrustTest, withAnchorsTheSystemsStoreNoLongerCounts) {
    LoopbackServer server;
    EXPECT_EQ(faultOf(server.url(), foreign_.anchors()), TransportFault::tlsRefused);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(HttpTransportTrustTest, oneGoodAnchorAmongOthersIsEnough) {
    LoopbackServer server;
    const auto anchors = std::make_shared<const TrustAnchors>(
        TrustAnchors{{foreign_.der(), "not a certificate", LoopbackServer::authority().der()}});
    EXPECT_EQ(faultOf(server.url(), anchors), std::nullopt);
}

TEST_F(HttpTransportTrustTest, aTlsOlderThan12IsRefusedWhoeverIsTrusted) {
    LoopbackServer server({.greeting = Greeting::tls11Only});
    EXPECT_EQ(faultOf(server.url(), nullptr), TransportFault::tlsRefused);
    EXPECT_EQ(faultOf(server.url(), good_), TransportFault::tlsRefused);
    EXPECT_TRUE(server.requests().empty());
    // The same server speaks to a client that would have it: what is refused is the version.
    EXPECT_EQ(offeredVersion(server.port()), TLS1_1_VERSION);
}

TEST_F(HttpTransportTrustTest, noAnchorLeftFailsBeforeAnythingReachesTheNetwork) {
    LoopbackServer server;
    for (const auto& ders : {std::vector<QByteArray>{}, std::vector<QByteArray>{"junk", QByteArray()}}) {
        EXPECT_EQ(faultOf(server.url(), std::make_shared<const TrustAnchors>(TrustAnchors{ders})),
                  TransportFault::tlsRefused);
    }
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(HttpTransportTrustTest, anchorsWithoutTlsAreRefused) {
    LoopbackOptions options;
    options.tls = false;
    LoopbackServer plain(options);
    EXPECT_EQ(faultOf(plain.url(), good_), TransportFault::tlsRefused);
    EXPECT_EQ(plain.connections(), 0);
    EXPECT_EQ(faultOf(plain.url(), nullptr), std::nullopt);
}

TEST_F(HttpTransportTrustTest, theNameInTheAddressMustBeTheCertificates) {
    LoopbackServer server(with(LoopbackServer::authority().issue({.names = {QStringLiteral("api.localhost")}})));
    EXPECT_EQ(faultOf(server.url(QStringLiteral("/"), QStringLiteral("api.localhost")), good_), std::nullopt);
    for (const auto& host : {QStringLiteral("localhost"), QStringLiteral("www.localhost"), QStringLiteral("127.0.0.1")})
        EXPECT_EQ(faultOf(server.url(QStringLiteral("/"), host), good_), TransportFault::tlsRefused)
            << qPrintable(host);
}

TEST_F(HttpTransportTrustTest, expiredAndFutureCertificatesAreRefused) {
    LoopbackServer expired(with(LoopbackServer::authority().issue({.validFromDays = -20, .validToDays = -1})));
    LoopbackServer future(with(LoopbackServer::authority().issue({.validFromDays = 1})));
    EXPECT_EQ(faultOf(expired.url(), good_), TransportFault::tlsRefused);
    EXPECT_EQ(faultOf(future.url(), good_), TransportFault::tlsRefused);
}

TEST_F(HttpTransportTrustTest, aChainThatEndsElsewhereUnderTheSameNameIsRefused) {
    // A root of the same name with another key: the name alone proves nothing.
    const TestAuthority imitation;
    LoopbackServer server(with(imitation.issue()));
    EXPECT_EQ(faultOf(server.url(), good_), TransportFault::tlsRefused);
}

TEST_F(HttpTransportTrustTest, aConnectionIsNeverUsedUnderAnotherTrust) {
    LoopbackServer server;
    ASSERT_EQ(faultOf(server.url(), good_), std::nullopt);
    EXPECT_EQ(faultOf(server.url(), foreign_.anchors()), TransportFault::tlsRefused);
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(faultOf(server.url(), nullptr), std::nullopt); // the system's trust, on a connection of its own
    EXPECT_EQ(server.requests().back().connection, 3);
    EXPECT_EQ(faultOf(server.url(), good_), std::nullopt);
    EXPECT_EQ(server.requests().back().connection, 1); // the pinned one was kept
}

TEST_F(HttpTransportTrustTest, equalAnchorsInAnotherListShareAConnection) {
    LoopbackServer server;
    ASSERT_EQ(faultOf(server.url(), LoopbackServer::authority().anchors()), std::nullopt);
    ASSERT_EQ(faultOf(server.url(), LoopbackServer::authority().anchors()), std::nullopt);
    EXPECT_EQ(server.connections(), 1);
}

} // namespace vennic::test
