#include "linux/HttpTransportFixture.h"

namespace vennic::test {

using namespace std::chrono_literals;

class HttpTransportCurlTest : public HttpTransportFixture {
protected:
    HttpRequest request(const QByteArray& method = "GET", const QString& path = QStringLiteral("/")) {
        return {.method = method, .url = server_.url(path), .timeout = 20s, .anchors = anchors_};
    }
};

TEST_F(HttpTransportCurlTest, aRequestCarriesOnlyWhatItSays) {
    send(request());
    EXPECT_EQ(server_.requests().at(0).raw,
              "GET / HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(server_.port()) + "\r\n\r\n");
}

TEST_F(HttpTransportCurlTest, aBodyBringsItsLengthAndNoTypeOfItsOwn) {
    auto patch = request("PATCH", QStringLiteral("/users/7.json?a=b%20c"));
    patch.headers = {{"Content-Type", "application/json"}};
    patch.secretHeaders.push_back({"X-User-Token", SecretText("s3cret")});
    patch.body = "{\"a\":1}";
    send(std::move(patch));
    EXPECT_EQ(server_.requests().at(0).raw,
              "PATCH /users/7.json?a=b%20c HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(server_.port()) +
                  "\r\nContent-Type: application/json\r\nX-User-Token: s3cret\r\nContent-Length: 7\r\n\r\n{\"a\":1}");
}

TEST_F(HttpTransportCurlTest, aPostWithoutBodySaysLengthNaught) {
    send(request("POST"));
    EXPECT_EQ(server_.requests().at(0).raw, "POST / HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(server_.port()) +
                                                "\r\nContent-Length: 0\r\n\r\n");
}

TEST_F(HttpTransportCurlTest, aDeleteWithoutBodyHasNone) {
    send(request("DELETE"));
    EXPECT_TRUE(server_.requests().at(0).raw.startsWith("DELETE / HTTP/1.1\r\n"));
    EXPECT_TRUE(server_.requests().at(0).body.isEmpty());
}

TEST_F(HttpTransportCurlTest, aLargeBodyArrivesWhole) {
    auto post = request("POST");
    post.body = QByteArray(5 * 1024 * 1024, 'v');
    send(post);
    EXPECT_EQ(server_.requests().at(0).body, *post.body);
    EXPECT_TRUE(server_.requests().at(0).header("Expect").isNull());
}

TEST_F(HttpTransportCurlTest, controlCharactersNeverReachTheWire) {
    for (int byte = 0; byte < 256; ++byte) {
        if (byte >= 0x20 && byte != 0x7f)
            continue;
        auto get = request();
        get.headers = {{"X-Name", QByteArray("pc") + char(byte) + QByteArray("X-Injected: yes")}};
        get.secretHeaders.push_back({"X-User-Token", SecretText(QByteArray("to") + char(byte) + QByteArray("ken"))});
        send(std::move(get));
        const auto arrived = server_.requests().back();
        EXPECT_EQ(arrived.header("X-Name"), "pcX-Injected: yes") << byte;
        EXPECT_EQ(arrived.header("X-User-Token"), "token") << byte;
        EXPECT_EQ(arrived.headers.size(), 3u) << byte;
    }
}

TEST_F(HttpTransportCurlTest, otherBytesOfAHeaderPassUnchanged) {
    auto get = request();
    get.headers = {{"X-Name", "Caf\xc3\xa9 \xe2\x80\xa2 ~ \"pc\""}};
    send(std::move(get));
    EXPECT_EQ(server_.requests().at(0).header("X-Name"), "Caf\xc3\xa9 \xe2\x80\xa2 ~ \"pc\"");
}

TEST_F(HttpTransportCurlTest, aBlankValueIsSentAsAnEmptyHeader) {
    auto get = request();
    get.headers = {{"X-Name", "  "}, {"X-Other", ""}};
    send(std::move(get));
    const auto arrived = server_.requests().at(0);
    EXPECT_FALSE(arrived.header("X-Name").isNull());
    EXPECT_TRUE(arrived.header("X-Name").isEmpty());
    EXPECT_FALSE(arrived.header("X-Other").isNull());
}

TEST_F(HttpTransportCurlTest, aHeaderNameOrMethodThatIsNoTokenIsRefused) {
    for (const QByteArray& name : {QByteArray("X Name"), QByteArray("X:"), QByteArray("X\r\nY"), QByteArray()}) {
        auto get = request();
        get.headers = {{name, "v"}};
        EXPECT_EQ(faultOf(std::move(get)), TransportFault::badRequest);
    }
    EXPECT_EQ(faultOf(request("GET / HTTP/1.1\r\nX: y\r\n")), TransportFault::badRequest);
    EXPECT_TRUE(server_.requests().empty());
}

TEST_F(HttpTransportCurlTest, addressesThatAreNotHttpAreRefused) {
    for (const char* address : {"", "relative/path", "ftp://127.0.0.1/", "file:///etc/passwd", "https:///nohost"}) {
        HttpRequest get{.url = QUrl(QString::fromLatin1(address))};
        EXPECT_EQ(faultOf(std::move(get)), TransportFault::badRequest) << address;
    }
}

TEST_F(HttpTransportCurlTest, aNameAndPasswordInTheAddressAreNotSent) {
    auto get = request();
    get.url.setUserName(QStringLiteral("me"));
    get.url.setPassword(QStringLiteral("word"));
    send(std::move(get));
    EXPECT_TRUE(server_.requests().at(0).header("Authorization").isNull());
}

TEST_F(HttpTransportCurlTest, dotsInThePathStayAsTheyStand) {
    auto get = request();
    get.url = QUrl(server_.url().toString() + QStringLiteral("api/v1//users/../7.json"));
    send(std::move(get));
    EXPECT_EQ(server_.requests().at(0).target, "/api/v1//users/../7.json");
}

TEST_F(HttpTransportCurlTest, onlyHttp11IsOffered) {
    send(request());
    EXPECT_EQ(server_.offeredProtocols(), "\x08http/1.1");
}

TEST_F(HttpTransportCurlTest, aConnectionIsKeptAndUsedAgain) {
    for (int i = 0; i < 5; ++i)
        send(request(i % 2 ? "PATCH" : "GET"));
    EXPECT_EQ(server_.connections(), 1);
    EXPECT_EQ(server_.requests().size(), 5u);
}

TEST_F(HttpTransportCurlTest, requestsSideBySideAllGetTheirOwnAnswer) {
    server_.onRequest([](Wire& wire, const ReceivedRequest& request) { wire.send(answerBytes(200, request.target)); });
    std::vector<QByteArray> bodies(20);
    Scope scope;
    struct Ask {
        static Task<> run(HttpTransport* transport, HttpRequest request, QByteArray* body) {
            *body = (co_await transport->send(std::move(request))).body;
        }
    };
    for (int i = 0; i < 20; ++i)
        scope.start(Ask::run(&transport_, request("GET", QStringLiteral("/%1").arg(i)), &bodies[i]));
    ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(bodies[i], "/" + QByteArray::number(i));
}

TEST_F(HttpTransportCurlTest, noRedirectIsFollowed) {
    LoopbackServer other;
    LoopbackServer plain({.tls = false});
    for (const int status : {301, 302, 303, 307, 308}) {
        for (const QUrl& target : {other.url(), other.url(QStringLiteral("/"), QStringLiteral("localhost")),
                                   plain.url(), server_.url(QStringLiteral("/stolen"))}) {
            for (const QByteArray& method : {QByteArray("GET"), QByteArray("PATCH")}) {
                server_.onRequest(answers::redirect(status, target));
                auto asked = request(method);
                asked.secretHeaders.push_back({"X-User-Token", SecretText("s3cret")});
                if (method == "PATCH")
                    asked.body = "{}";
                EXPECT_EQ(send(std::move(asked)).status, status);
            }
        }
    }
    EXPECT_EQ(other.connections(), 0);
    EXPECT_EQ(plain.connections(), 0);
    EXPECT_EQ(server_.count("GET", "/stolen") + server_.count("PATCH", "/stolen"), 0);
}

TEST_F(HttpTransportCurlTest, noCookieIsKept) {
    server_.onRequest(answers::plain(200, "ok", "Set-Cookie: sid=42; Path=/\r\n"));
    send(request());
    send(request());
    EXPECT_TRUE(server_.requests().at(1).header("Cookie").isNull());
}

TEST_F(HttpTransportCurlTest, aCompressedBodyIsHandedOverAsItCame) {
    server_.onRequest(answers::gzipBomb());
    const auto response = send(request());
    EXPECT_TRUE(server_.requests().at(0).header("Accept-Encoding").isNull());
    EXPECT_LT(response.body.size(), 2 * 1024 * 1024);
    EXPECT_TRUE(response.body.startsWith("\x1f\x8b"));
}

} // namespace vennic::test
