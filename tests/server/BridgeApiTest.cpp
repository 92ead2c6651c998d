#include "server/BridgeApi.h"

#include "server/RunningServer.h"

#include <QJsonArray>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
const QByteArray nextTask = "/api/v1/bridge/tasks/next?wait=";

struct BridgeApiTest : ::testing::Test {
    TlsPeer polling(const QByteArray& device, const QByteArray& wait = "30") {
        TlsPeer peer = server.connect();
        peer.send(requestText("GET", nextTask + wait, clientFields(token, device), {}));
        server.awaitPoll(device);
        return peer;
    }
    Answer patch(const QByteArray& id, const QByteArray& body, const QByteArray& device = "A") {
        return server.connect().request("PATCH", "/api/v1/bridge/tasks/" + id, clientFields(token, device), body);
    }
    /// A connection on which an answer was announced by `field`, its body still to come.
    TlsPeer announcing(const QByteArray& id, const QByteArray& device, const QByteArray& field) {
        TlsPeer peer = server.connect();
        peer.send("PATCH /api/v1/bridge/tasks/" + id + " HTTP/1.1\r\nHost: localhost\r\n" +
                  clientFields(token, device) + field + "\r\n\r\n");
        return peer;
    }
    QString state(const QByteArray& id) { return server.task(id).value(QLatin1String("state")).toString(); }
    RunningServer server;
    QByteArray token = server.pair();
};
} // namespace

TEST_F(BridgeApiTest, aTaskGoesToTheWaitingMachineAndItsAnswerComesBack) {
    TlsPeer peer = polling("A");
    const QByteArray id = server.submit("A", "search", R"(,"args":{"query":"é","limit":3})");
    const Answer task = peer.read();
    EXPECT_EQ(task.status, 200);
    EXPECT_EQ(task.json(),
              (QJsonObject{{QStringLiteral("id"), QString::fromLatin1(id)},
                           {QStringLiteral("kind"), QStringLiteral("search")},
                           {QStringLiteral("args"), QJsonObject{{QStringLiteral("query"), QStringLiteral("é")},
                                                                {QStringLiteral("limit"), 3}}}}));
    EXPECT_EQ(patch(id, R"({"status":"done","result":{"items":[]}})").status, 204);
    const QJsonObject seen = server.task(id);
    EXPECT_EQ(seen.value(QLatin1String("state")), QStringLiteral("done"));
    EXPECT_EQ(seen.value(QLatin1String("result")).toObject().size(), 1);
    EXPECT_TRUE(seen.value(QLatin1String("handled_ms")).isDouble());
    EXPECT_TRUE(seen.value(QLatin1String("answered_at")).isString());
}

TEST_F(BridgeApiTest, aTaskWithoutArgumentsHasNone) {
    const QByteArray id = server.submit("A", "list_folders");
    const Answer task = server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    EXPECT_FALSE(task.json().contains(QLatin1String("args")));
    EXPECT_EQ(task.text("id"), id);
}

TEST_F(BridgeApiTest, aPollEndsWith204) {
    const Answer answer = server.connect().request("GET", nextTask + "0", clientFields(token, "A"));
    EXPECT_EQ(answer.status, 204);
    EXPECT_FALSE(answer.head.contains("Content-Length"));
    EXPECT_FALSE(answer.head.contains("Set-Cookie"));
}

TEST_F(BridgeApiTest, twoMachinesGetTheirOwnTasks) {
    TlsPeer first = polling("A");
    TlsPeer second = polling("B");
    const QByteArray forSecond = server.submit("B", "read", R"(,"args":{"document_id":"x"})");
    const QByteArray forFirst = server.submit("A", "search", R"(,"args":{"query":"y"})");
    EXPECT_EQ(first.read().text("id"), forFirst);
    EXPECT_EQ(second.read().text("id"), forSecond);
    EXPECT_EQ(patch(forSecond, R"({"status":"done","result":{}})", "A").status, 403);
    EXPECT_EQ(patch(forSecond, R"({"status":"done","result":{}})", "B").status, 204);
}

TEST_F(BridgeApiTest, theNewerOfTwoPollsOfOneMachineGetsTheTask) {
    TlsPeer older = polling("A");
    TlsPeer newer = server.connect();
    newer.send(requestText("GET", nextTask + "30", clientFields(token, "A"), {}));
    EXPECT_EQ(older.read().status, 204);
    const QByteArray id = server.submit("A", "read");
    EXPECT_EQ(newer.read().text("id"), id);
}

TEST_F(BridgeApiTest, aClientThatHangsUpLosesNoTask) {
    {
        TlsPeer gone = polling("A");
        gone.hangUp();
    }
    while (
        QJsonDocument::fromJson(server.owner("GET", "/owner/machines").body)[0][QLatin1String("connected")].toBool()) {
    }
    const QByteArray id = server.submit("A", "app_open");
    EXPECT_EQ(state(id), QStringLiteral("queued"));
    EXPECT_EQ(server.connect().request("GET", nextTask + "1", clientFields(token, "A")).text("id"), id);
}

TEST_F(BridgeApiTest, streamedPiecesPrecedeTheAnswer) {
    const QByteArray id = server.submit("A", "llm_infer");
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    EXPECT_EQ(patch(id, R"({"status":"streaming","delta":"Bon"})").status, 204);
    EXPECT_EQ(patch(id, R"({"status":"streaming","delta":"jour"})").status, 204);
    EXPECT_EQ(state(id), QStringLiteral("streaming"));
    EXPECT_EQ(patch(id, R"({"status":"error","error_message":"arrêt"})").status, 204);
    const QJsonObject seen = server.task(id);
    EXPECT_EQ(seen.value(QLatin1String("stream")), (QJsonArray{QStringLiteral("Bon"), QStringLiteral("jour")}));
    EXPECT_EQ(seen.value(QLatin1String("error_message")), QStringLiteral("arrêt"));
}

TEST_F(BridgeApiTest, refusesAnswersThatDoNotFit) {
    const QByteArray id = server.submit("A", "read");
    EXPECT_EQ(patch("unknown", R"({"status":"done","result":{}})").status, 404);
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    EXPECT_EQ(patch(id, "{").status, 400);
    EXPECT_EQ(patch(id, "[]").status, 400);
    EXPECT_EQ(patch(id, "{\"status\":" + QByteArray(5000, '[')).status, 400);
    for (const char* body : {"{}", R"({"status":"done"})", R"({"status":"done","result":3})", R"({"status":"error"})",
                             R"({"status":"streaming","delta":1})", R"({"status":"finished"})"})
        EXPECT_EQ(patch(id, body).status, 422) << body;
    EXPECT_EQ(state(id), QStringLiteral("delivered"));
    EXPECT_EQ(patch(id, R"({"status":"done","result":{}})").status, 204);
    EXPECT_EQ(patch(id, R"({"status":"done","result":{}})").status, 409);
}

TEST_F(BridgeApiTest, takesAResultOfFifteenMebibytes) {
    const QByteArray id = server.submit("A", "read");
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    const QByteArray content(15 * 1024 * 1024, 'a');
    EXPECT_EQ(patch(id, R"({"status":"done","result":{"content":")" + content + "\"}}").status, 204);
    EXPECT_EQ(server.task(id).value(QLatin1String("result"))[QLatin1String("content")].toString().size(),
              content.size());
}

TEST_F(BridgeApiTest, takesTheListingOfAHundredThousandEntries) {
    const QByteArray id = server.submit("A", "list_dir");
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    QByteArray items;
    const QByteArray folder = "Photos de famille/Été 2024/Originaux de l'appareil/";
    for (int number = 0; number < 100'000; ++number) {
        const QByteArray name = "Anniversaire de Grand-mère, image " + QByteArray::number(number) + ".jpg";
        items += (number > 0 ? "," : "") +
                 (R"({"id":"3A90EE14-131C-4A34-BB94-1AFD29E541D1","name":")" + name +
                  R"(","type":"file","mime":"image/jpeg","size":3204118,"modified_at":"2024-07-14T21:30:00Z",)" +
                  R"("sub_path":")" + folder + name + "\"}");
    }
    EXPECT_GT(items.size(), 25 * 1024 * 1024);
    EXPECT_EQ(patch(id, R"({"status":"done","result":{"folder_id":"x","sub_path":"","items":[)" + items + "]}}").status,
              204);
    const QJsonArray listed = server.task(id).value(QLatin1String("result"))[QLatin1String("items")].toArray();
    ASSERT_EQ(listed.size(), 100'000);
    EXPECT_EQ(listed.last()[QLatin1String("name")].toString(),
              QStringLiteral("Anniversaire de Grand-mère, image 99999.jpg"));
}

TEST_F(BridgeApiTest, anAnswerBeyondTheCeilingIsRefusedUnreadAndEndsItsTaskWithTheReason) {
    const QByteArray id = server.submit("A", "list_dir");
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    EXPECT_EQ(announcing(id, "A", "Content-Length: " + QByteArray::number(longestAnswer + 1)).read().status, 413);
    const QJsonObject task = server.task(id);
    EXPECT_EQ(task.value(QLatin1String("state")), QStringLiteral("error"));
    EXPECT_EQ(task.value(QLatin1String("error_message")), QStringLiteral("La réponse de la machine dépasse 64 Mio."));
}

TEST_F(BridgeApiTest, aChunkedAnswerBeyondTheCeilingIsCutOffThere) {
    const QByteArray id = server.submit("A", "list_dir");
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    TlsPeer peer = announcing(id, "A", "Transfer-Encoding: chunked");
    const QByteArray chunk = "100000\r\n" + QByteArray(0x100000, ' ') + "\r\n";
    for (int sent = 0; sent < 65 && peer.send(chunk); ++sent) {
    }
    EXPECT_EQ(peer.read().status, 413);
    EXPECT_EQ(state(id), QStringLiteral("error"));
}

TEST_F(BridgeApiTest, anOversizedAnswerToAnotherMachinesTaskChangesNothing) {
    const QByteArray id = server.submit("A", "list_dir");
    server.connect().request("GET", nextTask + "1", clientFields(token, "A"));
    EXPECT_EQ(announcing(id, "B", "Content-Length: 99999999999").read().status, 403);
    EXPECT_EQ(state(id), QStringLiteral("delivered"));
}

TEST_F(BridgeApiTest, wantsATokenAndADevice) {
    EXPECT_EQ(server.connect().request("GET", nextTask + "1", clientFields("wrong", "A")).status, 401);
    EXPECT_EQ(server.connect().request("GET", nextTask + "1").status, 401);
    EXPECT_EQ(server.connect().request("GET", nextTask + "1", clientFields(token)).status, 400);
    EXPECT_EQ(server.connect().request("GET", nextTask + "1", clientFields(token, QByteArray(201, 'x'))).status, 400);
    EXPECT_EQ(server.connect().request("PATCH", "/api/v1/bridge/tasks/x", clientFields("wrong", "A"), "{}").status,
              401);
}

TEST_F(BridgeApiTest, theListingOfAHugeFolderIsTaken) {
    TlsPeer peer = polling("A");
    const QByteArray id = server.submit("A", "list_dir");
    peer.read();
    const QByteArray name(20'000'000, 'n');
    EXPECT_EQ(patch(id, R"({"status":"done","result":{"items":[{"name":")" + name + R"("}]}})").status, 204);
    EXPECT_EQ(
        server.task(id)[QLatin1String("result")][QLatin1String("items")][0][QLatin1String("name")].toString().size(),
        name.size());
}

TEST_F(BridgeApiTest, keepsWhatThePollSaysOfItsMachine) {
    const auto beat = [&](const QByteArray& text) {
        server.connect().request("GET", nextTask + "1",
                                 clientFields(token, "A") + "X-Bridge-Heartbeat: " + text + "\r\n");
        return QJsonDocument::fromJson(server.owner("GET", "/owner/machines").body)[0].toObject();
    };
    const QJsonObject machine = beat(R"({"ram_total_gb":8.5})");
    EXPECT_EQ(machine.value(QLatin1String("nickname")), QStringLiteral("Portable"));
    EXPECT_EQ(machine.value(QLatin1String("connected")), false);
    EXPECT_EQ(machine.value(QLatin1String("heartbeat"))[QLatin1String("ram_total_gb")].toDouble(), 8.5);
    EXPECT_TRUE(beat("{damaged").value(QLatin1String("heartbeat")).isNull());
}

TEST_F(BridgeApiTest, signingOutEndsTheTokenAndItsPoll) {
    TlsPeer peer = polling("A");
    EXPECT_EQ(server.connect().request("DELETE", "/api/v1/session", clientFields(token)).status, 204);
    EXPECT_EQ(peer.read().status, 401);
    EXPECT_EQ(server.connect().request("GET", "/api/v1/me.json", clientFields(token)).status, 401);
}

TEST_F(BridgeApiTest, anUnansweredTaskTimesOut) {
    RunningServer hasty([](Options& options) { options.taskTimeout = 30ms; });
    const QByteArray id = hasty.submit("A", "read");
    hasty.connect().request("GET", nextTask + "1", clientFields(hasty.pair(), "A"));
    EXPECT_EQ(hasty.task(id, 20).value(QLatin1String("state")), QStringLiteral("timeout"));
}

} // namespace vennic::server::test
