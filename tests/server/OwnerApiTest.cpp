#include "server/RunningServer.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace vennic::server::test {

namespace {
struct OwnerApiTest : ::testing::Test {
    int submitStatus(const QByteArray& body) { return server.owner("POST", "/owner/tasks", body).status; }
    void poll(const QByteArray& device) {
        server.connect().request("GET", "/api/v1/bridge/tasks/next?wait=1", clientFields(token, device));
    }
    RunningServer server;
    QByteArray token = server.pair();
};
} // namespace

TEST_F(OwnerApiTest, everyCallWantsTheOwner) {
    for (const auto& [method, target] :
         {std::pair("POST", "/owner/pairings"), std::pair("GET", "/owner/machines"), std::pair("POST", "/owner/tasks"),
          std::pair("GET", "/owner/tasks"), std::pair("GET", "/owner/tasks/x"),
          std::pair("GET", "/owner/tasks/x/events"), std::pair("DELETE", "/owner/machines/x"),
          std::pair("GET", "/owner/pairings/ABCDEFGH"), std::pair("DELETE", "/console/session")}) {
        EXPECT_EQ(server.connect().request(method, target).status, 401) << target;
        EXPECT_EQ(server.connect().request(method, target, clientFields(token)).status, 401) << target;
    }
}

TEST_F(OwnerApiTest, tasksAreCheckedUnlessAskedOtherwise) {
    poll("A");
    EXPECT_EQ(submitStatus(R"({"device_id":"A","kind":"search","args":{"query":"x"}})"), 201);
    EXPECT_EQ(submitStatus(R"({"device_id":"A","kind":"open_app","args":{}})"), 422);
    EXPECT_EQ(submitStatus(R"({"device_id":"A","kind":"open_app","args":{},"unchecked":true})"), 201);
    EXPECT_EQ(submitStatus(R"({"device_id":"Z","kind":"search","args":{}})"), 404);
    EXPECT_EQ(submitStatus(R"({"device_id":"A","kind":"search","args":[]})"), 422);
    EXPECT_EQ(submitStatus(R"({"device_id":"A","kind":"search","args":null})"), 422);
    EXPECT_EQ(submitStatus(R"({"kind":"search"})"), 422);
    EXPECT_EQ(submitStatus(R"({"device_id":"A"})"), 422);
    EXPECT_EQ(submitStatus("{"), 400);
}

TEST_F(OwnerApiTest, aWaitingReaderHearsOfTheEndAtOnce) {
    const QByteArray id = server.submit("A", "read");
    TlsPeer reader = server.connect();
    reader.send(requestText("GET", "/owner/tasks/" + id + "?wait=60", server.ownerField(), {}));
    poll("A");
    server.connect().request("PATCH", "/api/v1/bridge/tasks/" + id, clientFields(token, "A"),
                             R"({"status":"done","result":{"content":"texte"}})");
    const QJsonObject seen = reader.read().json();
    EXPECT_EQ(seen.value(QLatin1String("state")), QStringLiteral("done"));
    EXPECT_EQ(seen.value(QLatin1String("result"))[QLatin1String("content")], QStringLiteral("texte"));
    EXPECT_EQ(server.task("unknown").value(QLatin1String("error")), QStringLiteral("Cette tâche n'existe pas."));
}

TEST_F(OwnerApiTest, eventsShowTheAnswerAsItComes) {
    const QByteArray id = server.submit("A", "llm_infer");
    TlsPeer reader = server.connect();
    reader.send(requestText("GET", "/owner/tasks/" + id + "/events", server.ownerField(), {}));
    const QByteArray start = reader.readUntil("\n\n");
    EXPECT_TRUE(start.contains("Content-Type: text/event-stream\r\n"));
    EXPECT_TRUE(start.contains("event: task\n"));
    EXPECT_TRUE(start.contains("\"state\":\"queued\""));
    poll("A");
    EXPECT_TRUE(reader.readUntil("\n\n").contains("\"state\":\"delivered\""));
    const auto patch = [&](const QByteArray& body) {
        server.connect().request("PATCH", "/api/v1/bridge/tasks/" + id, clientFields(token, "A"), body);
    };
    patch(R"({"status":"streaming","delta":"un\ndeux"})");
    EXPECT_EQ(reader.readUntil("\n\n"), "event: delta\ndata: {\"delta\":\"un\\ndeux\"}\n\n");
    patch(R"({"status":"done","result":{}})");
    const QByteArray end = reader.readToEnd();
    EXPECT_TRUE(end.startsWith("event: task\n"));
    EXPECT_TRUE(end.contains("\"stream\":[\"un\\ndeux\"]"));
}

TEST_F(OwnerApiTest, aReaderOfEventsThatGoesAwayHarmsNothing) {
    const QByteArray id = server.submit("A", "llm_infer");
    {
        TlsPeer reader = server.connect();
        reader.send(requestText("GET", "/owner/tasks/" + id + "/events", server.ownerField(), {}));
        reader.readUntil("\n\n");
        reader.hangUp();
    }
    poll("A");
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(server.connect()
                      .request("PATCH", "/api/v1/bridge/tasks/" + id, clientFields(token, "A"),
                               R"({"status":"streaming","delta":"x"})")
                      .status,
                  204);
}

TEST_F(OwnerApiTest, theListIsShort) {
    const QByteArray small = server.submit("A", "read", R"(,"args":{"document_id":"d"})");
    const QByteArray big = server.submit("A", "read", ",\"args\":{\"document_id\":\"" + QByteArray(9000, 'x') + "\"}");
    const QJsonArray list = QJsonDocument::fromJson(server.owner("GET", "/owner/tasks?limit=2").body).array();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0][QLatin1String("id")].toString().toUtf8(), big);
    EXPECT_TRUE(list[0][QLatin1String("args")].isNull());
    EXPECT_TRUE(list[1][QLatin1String("args")].isObject());
    EXPECT_FALSE(list[1].toObject().contains(QLatin1String("result")));
    EXPECT_EQ(QJsonDocument::fromJson(server.owner("GET", "/owner/tasks?limit=1").body).array().size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(server.owner("GET", "/owner/tasks?limit=-5").body).array().size(), 1);
}

TEST_F(OwnerApiTest, aRemovedMachineLosesItsToken) {
    TlsPeer peer = server.connect();
    peer.send(requestText("GET", "/api/v1/bridge/tasks/next?wait=30", clientFields(token, "a b/c"), {}));
    server.awaitPoll("a b/c");
    EXPECT_EQ(server.owner("DELETE", "/owner/machines/a%20b%2Fc").status, 204);
    EXPECT_EQ(peer.read().status, 401);
    EXPECT_EQ(server.connect().request("GET", "/api/v1/me.json", clientFields(token)).status, 401);
    EXPECT_EQ(server.owner("GET", "/owner/machines").body, "[]");
    EXPECT_EQ(server.owner("DELETE", "/owner/machines/a%20b%2Fc").status, 404);
}

TEST_F(OwnerApiTest, aRemovedMachineLosesTheTokensOfEarlierPairingsToo) {
    const QByteArray newer = server.pair();
    const QByteArray others = server.pair();
    for (const QByteArray& each : {token, newer})
        server.connect().request("GET", "/api/v1/bridge/tasks/next?wait=1", clientFields(each, "A"));
    server.connect().request("GET", "/api/v1/bridge/tasks/next?wait=1", clientFields(others, "B"));
    EXPECT_EQ(server.owner("DELETE", "/owner/machines/A").status, 204);
    for (const QByteArray& each : {token, newer})
        EXPECT_EQ(server.connect().request("GET", "/api/v1/me.json", clientFields(each)).status, 401);
    EXPECT_EQ(server.connect().request("GET", "/api/v1/me.json", clientFields(others)).status, 200);
}

TEST_F(OwnerApiTest, thePairingPageSeesItsCodeUsed) {
    const QByteArray code = server.owner("POST", "/owner/pairings").text("code");
    const auto state = [&] {
        return server.owner("GET", "/owner/pairings/" + code).json().value(QLatin1String("state")).toString();
    };
    EXPECT_EQ(state(), QStringLiteral("waiting"));
    server.connect().request("POST", "/api/v1/pairings/claim", {},
                             R"({"client_kind":"mac","pairing_code":")" + code + R"("})");
    EXPECT_EQ(state(), QStringLiteral("claimed"));
    EXPECT_EQ(server.owner("GET", "/owner/pairings/XXXXXXXX").status, 404);
}

TEST_F(OwnerApiTest, theConsoleLogsInWithTheKeyAndOut) {
    const QByteArray key = server.ownerField().mid(13).trimmed();
    EXPECT_EQ(server.connect().request("POST", "/console/session", {}, R"({"owner_key":"wrong"})").status, 401);
    const Answer login = server.connect().request("POST", "/console/session", {}, R"({"owner_key":")" + key + R"("})");
    ASSERT_EQ(login.status, 204);
    const qsizetype at = login.head.indexOf("Set-Cookie: ") + 12;
    const QByteArray cookie = "Cookie: " + login.head.mid(at, login.head.indexOf(';', at) - at) + "\r\n";
    EXPECT_EQ(server.connect().request("GET", "/owner/machines", cookie).status, 200);
    EXPECT_EQ(server.connect().request("POST", "/owner/pairings", cookie).status, 403);
    EXPECT_EQ(server.connect().request("POST", "/owner/pairings", cookie + "X-Vennic-Console: 1\r\n").status, 201);
    EXPECT_EQ(server.connect().request("GET", "/api/v1/me.json", cookie).status, 401);
    EXPECT_EQ(server.connect().request("DELETE", "/console/session", cookie + "X-Vennic-Console: 1\r\n").status, 204);
    EXPECT_EQ(server.connect().request("GET", "/owner/machines", cookie).status, 401);
}

} // namespace vennic::server::test
