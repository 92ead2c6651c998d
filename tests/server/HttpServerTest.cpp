#include "server/RunningServer.h"

#include <QRegularExpression>
#include <QUrl>

#include <gtest/gtest.h>
#include <map>

using namespace std::chrono_literals;

namespace vennic::server::test {

TEST(HttpServerTest, servesOneRequestAfterAnotherOnOneConnection) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(peer.request("GET", "/owner/machines", server.ownerField()).status, 200);
}

TEST(HttpServerTest, refusesWhatItDoesNotKnowWithAFrenchSentence) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    const Answer unknown = peer.request("GET", "/nothing");
    EXPECT_EQ(unknown.status, 404);
    EXPECT_EQ(unknown.error(), QStringLiteral("Il n'y a rien à cette adresse."));
    const Answer method = peer.request("PUT", "/api/v1/session");
    EXPECT_EQ(method.status, 405);
    EXPECT_TRUE(method.head.contains("Allow: DELETE\r\n"));
    EXPECT_EQ(peer.request("DELETE", "/api/v1/session").status, 401);
}

TEST(HttpServerTest, aRequestInPiecesIsARequest) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    for (const char byte : requestText("GET", "/owner/machines", server.ownerField(), {}))
        peer.send(QByteArray(1, byte));
    EXPECT_EQ(peer.read().status, 200);
}

TEST(HttpServerTest, refusesAHeadOfMoreThan64Kibibytes) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    peer.send("GET / HTTP/1.1\r\nX-Long: " + QByteArray(70'000, 'a'));
    const Answer answer = peer.read();
    EXPECT_EQ(answer.status, 431);
    EXPECT_FALSE(answer.error().isEmpty());
    peer.readToEnd();
}

TEST(HttpServerTest, acceptsAHeadOf60Kibibytes) {
    const RunningServer server;
    EXPECT_EQ(
        server.connect()
            .request("GET", "/owner/machines", server.ownerField() + "X-Long: " + QByteArray(60'000, 'a') + "\r\n")
            .status,
        200);
}

TEST(HttpServerTest, refusesWhatIsNotHttp) {
    const RunningServer server;
    for (const char* text :
         {"\x16\x03\x01\x02garbage\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n",
          "GET / HTTP/1.1\r\nBad Name: x\r\n\r\n", "POST /api/v1/pairings/claim HTTP/1.1\r\nContent-Length: -4\r\n\r\n",
          "POST /api/v1/pairings/claim HTTP/1.1\r\nContent-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\n"}) {
        TlsPeer peer = server.connect();
        peer.send(text);
        EXPECT_EQ(peer.read().status, 400) << text;
        EXPECT_TRUE(peer.readToEnd().isEmpty()) << text;
    }
}

TEST(HttpServerTest, refusesABodyByItsAnnouncedLengthBeforeReadingIt) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    peer.send("POST /owner/tasks HTTP/1.1\r\nHost: a\r\n" + server.ownerField() + "Content-Length: 4194305\r\n\r\n");
    EXPECT_EQ(peer.read().status, 413);
}

TEST(HttpServerTest, refusesAChunkedBodyOnceItIsTooLong) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    peer.send("POST /owner/tasks HTTP/1.1\r\nHost: a\r\n" + server.ownerField() + "Transfer-Encoding: chunked\r\n\r\n");
    const QByteArray chunk = "10000\r\n" + QByteArray(65536, 'a') + "\r\n";
    for (int i = 0; i < 65; ++i) {
        if (!peer.send(chunk))
            break;
    }
    EXPECT_EQ(peer.read().status, 413);
}

TEST(HttpServerTest, readsNoBodyOfAStranger) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    peer.send(
        "PATCH /api/v1/bridge/tasks/x HTTP/1.1\r\nHost: a\r\nX-User-Token: wrong\r\nContent-Length: 16000000\r\n\r\n");
    EXPECT_EQ(peer.read().status, 401);
}

TEST(HttpServerTest, invitesABodyThatWaitsForIt) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    peer.send("POST /owner/pairings HTTP/1.1\r\nHost: a\r\n" + server.ownerField() +
              "Expect: 100-continue\r\nContent-Length: 2\r\n\r\n");
    EXPECT_EQ(peer.read().status, 100);
    peer.send("{}");
    EXPECT_EQ(peer.read().status, 201);
}

TEST(HttpServerTest, closesAConnectionThatNeverEndsItsHead) {
    const RunningServer server([](Options& options) { options.limits.head = 50ms; });
    TlsPeer peer = server.connect();
    peer.send("GET / HTTP/1.1\r\nX-Half: ");
    EXPECT_TRUE(peer.readToEnd().isEmpty());
}

TEST(HttpServerTest, saysSoWhenABodyNeverComes) {
    const RunningServer server([](Options& options) { options.limits.body = 50ms; });
    TlsPeer peer = server.connect();
    peer.send("POST /owner/tasks HTTP/1.1\r\nHost: a\r\n" + server.ownerField() + "Content-Length: 10\r\n\r\n{\"a");
    EXPECT_EQ(peer.read().status, 408);
}

TEST(HttpServerTest, oneConnectionTooManyTakesThePlaceOfTheOldestIdleOne) {
    const RunningServer server([](Options& options) { options.limits.connections = 3; });
    TlsPeer oldest = server.connect();
    TlsPeer second = server.connect();
    TlsPeer third = server.connect();
    EXPECT_EQ(oldest.request("GET", "/console").status, 200);
    TlsPeer fourth = server.connect();
    EXPECT_EQ(fourth.request("GET", "/console").status, 200);
    EXPECT_TRUE(oldest.readToEnd().isEmpty());
    EXPECT_EQ(third.request("GET", "/console").status, 200);
}

TEST(HttpServerTest, aHeadOfAPollTakesNoTask) {
    const RunningServer server;
    const QByteArray token = server.pair();
    const QByteArray id = server.submit("A", "read");
    TlsPeer peer = server.connect();
    peer.send(requestText("HEAD", "/api/v1/bridge/tasks/next?wait=1", clientFields(token, "A"), {}));
    EXPECT_TRUE(peer.readUntil("\r\n\r\n").startsWith("HTTP/1.1 405 "));
    EXPECT_EQ(server.task(id).value(QLatin1String("state")), QStringLiteral("queued"));
}

TEST(HttpServerTest, everyFileThatThePagesNameComesWithItsTypeAndAStrictPolicy) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    // What a browser would load: attributes of a page, imports of a script, masks of the style sheet.
    static const QRegularExpression named(
        QStringLiteral(R"re((?:(?:src|href)=|\bfrom |url\()"([^"#]+\.(?:js|css|svg))")re"));
    const std::map<QString, QByteArray> types{{QStringLiteral("js"), "text/javascript; charset=utf-8"},
                                              {QStringLiteral("css"), "text/css; charset=utf-8"},
                                              {QStringLiteral("svg"), "image/svg+xml"}};
    QStringList addresses{QStringLiteral("/console"), QStringLiteral("/pairing"), QStringLiteral("/discussions")};
    for (qsizetype at = 0; at < addresses.size(); ++at) {
        const QString address = addresses.at(at);
        const std::string name = address.toStdString();
        const Answer file = peer.request("GET", address.toUtf8());
        ASSERT_EQ(file.status, 200) << name;
        const auto type = types.find(address.section(u'.', 1));
        EXPECT_TRUE(file.head.contains(
            "Content-Type: " + (type == types.end() ? "text/html; charset=utf-8" : type->second) + "\r\n"))
            << name;
        EXPECT_TRUE(file.head.contains(
            "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
            "img-src 'self' data:; form-action 'none'; base-uri 'none'; frame-ancestors 'none'; "
            "require-trusted-types-for 'script'; trusted-types 'none'\r\n"))
            << name;
        EXPECT_TRUE(file.head.contains("X-Content-Type-Options: nosniff\r\n")) << name;
        for (const char* bad : {"https://", "<script>", "innerHTML", "outerHTML", "insertAdjacentHTML", "eval(",
                                "style=\"", " onclick=\""})
            EXPECT_FALSE(file.body.contains(bad)) << name << ' ' << bad;
        for (auto each = named.globalMatch(QString::fromUtf8(file.body)); each.hasNext();) {
            const QUrl found = QUrl(address).resolved(QUrl(each.next().captured(1)));
            if (!addresses.contains(found.path()))
                addresses.append(found.path());
        }
    }
    EXPECT_GT(addresses.size(), 15);
    EXPECT_TRUE(addresses.contains(QStringLiteral("/pages/results/documents.js")));
    EXPECT_TRUE(addresses.contains(QStringLiteral("/pages/folder.svg")));
    EXPECT_EQ(peer.request("GET", "/pages/console.html").status, 404);
    EXPECT_EQ(peer.request("GET", "/pages/../console").status, 404);
}

TEST(HttpServerTest, eachPageHasItsContentInTheFrameOfAllAndTellsWhichOneItIs) {
    const RunningServer server;
    TlsPeer peer = server.connect();
    const std::map<QByteArray, QByteArray> titles{
        {"/console", "Console"}, {"/pairing", "Association"}, {"/discussions", "Discussions"}};
    for (const auto& [address, title] : titles) {
        const QByteArray page = peer.request("GET", address).body;
        const std::string name = address.toStdString();
        EXPECT_TRUE(page.contains("<title>" + title + " · Vennic</title>")) << name;
        EXPECT_TRUE(page.contains("<script type=\"module\" src=\"/pages" + address + ".js\">")) << name;
        EXPECT_TRUE(page.contains("<a href=\"" + address + "\" aria-current=\"page\">" + title + "</a>")) << name;
        EXPECT_EQ(page.count("aria-current"), 1) << name;
        for (const auto& other : titles)
            EXPECT_TRUE(page.contains("<a href=\"" + other.first + '"')) << name;
        EXPECT_TRUE(page.contains("<form id=\"login\"")) << name;
        EXPECT_TRUE(page.contains(" id=\"" + address.mid(1) + "\"")) << name;
        EXPECT_TRUE(page.endsWith("</main>\n</body>\n</html>\n")) << name;
        EXPECT_FALSE(page.contains('{')) << name << ": a place in the frame was left";
    }
}

TEST(HttpServerTest, aHeadOfAPageHasNoBody) {
    const RunningServer server;
    TlsPeer other = server.connect();
    other.send(requestText("HEAD", "/console", "Connection: close\r\n", {}));
    const QByteArray head = other.readToEnd();
    EXPECT_TRUE(head.startsWith("HTTP/1.1 200 "));
    EXPECT_TRUE(head.endsWith("\r\n\r\n"));
}

} // namespace vennic::server::test
