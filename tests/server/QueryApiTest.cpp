#include "server/RunningServer.h"

#include <QJsonArray>

#include <gtest/gtest.h>
#include <thread>

namespace vennic::server::test {

namespace {
const QByteArray device = "MAC-1";

struct QueryApiTest : ::testing::Test {
    RunningServer server;
    QByteArray token = server.pair();

    Answer client(const QByteArray& method, const QByteArray& target, const QByteArray& body = {}) {
        return server.connect().request(method, target, clientFields(token), body);
    }
    Answer ask(const QByteArray& body) { return client("POST", "/api/v1/queries.json", body); }
    static QJsonArray list(const Answer& answer) { return QJsonDocument::fromJson(answer.body).array(); }
    QJsonArray discussions() { return list(client("GET", "/api/v1/discussions.json?limit=5")); }

    /// Polls as the machine would, and answers the task that comes with `result`; the task.
    QJsonObject serve(const QByteArray& result) {
        TlsPeer machine = server.connect();
        const QJsonObject task =
            machine.request("GET", "/api/v1/bridge/tasks/next?wait=20", clientFields(token, device)).json();
        const QByteArray id = task.value(QLatin1String("id")).toString().toUtf8();
        machine.request("PATCH", "/api/v1/bridge/tasks/" + id, clientFields(token, device), result);
        return task;
    }
    /// Makes the machine known.
    void introduceMachine() {
        TlsPeer machine = server.connect();
        machine.send(requestText("GET", "/api/v1/bridge/tasks/next?wait=20", clientFields(token, device), {}));
        server.awaitPoll(device);
        machine.hangUp();
    }
    /// Asks while the machine answers.
    Answer askWith(const QByteArray& body, const QByteArray& result, QJsonObject* task = nullptr) {
        Answer answer;
        std::thread asking([&] { answer = ask(body); });
        const QJsonObject served = serve(result);
        if (task)
            *task = served;
        asking.join();
        return answer;
    }
};

const QByteArray twoHits =
    R"({"status":"done","result":{"items":[{"id":"A-1","name":"Facture *EDF*.pdf","mime":"application/pdf","size":1,)"
    R"("parent":"~/Documents","is_remote":false},{"id":"A-2","name":"autre.txt","mime":"text/plain","size":1,)"
    R"("parent":"~","is_remote":false}]}})";
} // namespace

TEST_F(QueryApiTest, withoutAMachineTheReplySaysSo) {
    const Answer answer = ask(R"({"text":"cherche facture","provider":"openai"})");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.json().value(QLatin1String("text")),
              QStringLiteral("Le Mac n'a pas pu : Aucun Mac n'est encore appairé avec ce compte."));
    EXPECT_GT(answer.json().value(QLatin1String("discussion_id")).toInteger(), 0);
}

TEST_F(QueryApiTest, aSearchLinksTheDocumentsThatItFound) {
    introduceMachine();
    QJsonObject task;
    const Answer answer = askWith(R"({"text":"cherche facture edf"})", twoHits, &task);
    EXPECT_EQ(task.value(QLatin1String("kind")), QStringLiteral("search"));
    EXPECT_EQ(task.value(QLatin1String("args")).toObject(),
              (QJsonObject{{QStringLiteral("query"), QStringLiteral("facture edf")}, {QStringLiteral("limit"), 5}}));
    EXPECT_EQ(answer.json().value(QLatin1String("text")).toString(),
              QStringLiteral("J'ai trouvé 2 documents pour « facture edf » :\n"
                             "1. [Facture \\*EDF\\*.pdf](vennic://local_file/open/A-1) — ~/Documents\n"
                             "2. [autre.txt](vennic://local_file/open/A-2) — ~\n\n"
                             "Dis « lis le premier » et je te le lis."));
}

TEST_F(QueryApiTest, whatWasFoundCanBeReadAfterwardsAndAfterARestart) {
    introduceMachine();
    const qint64 discussion =
        askWith(R"({"text":"cherche facture"})", twoHits).json().value(QLatin1String("discussion_id")).toInteger();
    server.restart();
    QJsonObject task;
    const Answer answer =
        askWith(R"({"text":"lis le deuxième","discussion_id":)" + QByteArray::number(discussion) + "}",
                R"({"status":"done","result":{"content":"Bonjour <b>","truncated":true,"bytes_read":9}})", &task);
    EXPECT_EQ(task.value(QLatin1String("kind")), QStringLiteral("read"));
    EXPECT_EQ(task.value(QLatin1String("args")).toObject().value(QLatin1String("document_id")), QStringLiteral("A-2"));
    EXPECT_EQ(answer.json().value(QLatin1String("text")).toString(),
              QStringLiteral("**autre.txt**\n\nBonjour \\<b\\>\n\n… La suite est dans le document."));
    EXPECT_EQ(answer.json().value(QLatin1String("discussion_id")).toInteger(), discussion);
}

TEST_F(QueryApiTest, aTaskThatFailsIsToldInItsWords) {
    introduceMachine();
    const Answer answer = askWith(R"({"text":"liste mes dossiers"})",
                                  R"({"status":"error","error_message":"Le pont local est désactivé."})");
    EXPECT_EQ(answer.json().value(QLatin1String("text")),
              QStringLiteral("Le Mac n'a pas pu : Le pont local est désactivé."));
}

TEST_F(QueryApiTest, aStreamedReplyHasItsBeginningItsTextAndItsEnd) {
    TlsPeer peer = server.connect();
    peer.send(requestText("POST", "/api/v1/queries.json", clientFields(token), R"({"text":"aide","stream":true})"));
    const QByteArray all = peer.readToEnd();
    EXPECT_TRUE(all.contains("Content-Type: text/event-stream\r\n"));
    const QByteArray events = all.mid(all.indexOf("\r\n\r\n") + 4);
    EXPECT_TRUE(events.startsWith("event: initial\ndata: {\"discussion_id\":1}\n\nevent: message\ndata: Je comprends"));
    EXPECT_TRUE(events.contains("\ndata: - « cherche facture edf »\ndata: - « lis le premier »\n"));
    EXPECT_TRUE(events.contains("event: final\ndata: {\"discussion_id\":1,\"text\":\"Je comprends"));
    EXPECT_TRUE(events.endsWith("}\n\n"));
}

TEST_F(QueryApiTest, whoGoesAwayLeavesHisQuestionFiled) {
    introduceMachine();
    TlsPeer peer = server.connect();
    peer.send(requestText("POST", "/api/v1/queries.json", clientFields(token),
                          R"({"text":"cherche facture","stream":true})"));
    peer.readUntil("event: initial");
    const QJsonArray tasks = list(server.owner("GET", "/owner/tasks"));
    ASSERT_EQ(tasks.size(), 1);
    peer.hangUp();
    // The machine's task is taken back when the server sees that nobody waits for it any more.
    const QByteArray task = tasks.at(0)[QLatin1String("id")].toString().toUtf8();
    EXPECT_NE(server.task(task, 20)[QLatin1String("state")], tasks.at(0)[QLatin1String("state")]);
    ASSERT_EQ(discussions().size(), 1);
    EXPECT_EQ(discussions().at(0)[QLatin1String("queries_count")].toInt(), 1);
}

TEST_F(QueryApiTest, discussionsAreListedNewestFirstByTheirFirstWords) {
    ask(R"({"text":"  première\n question "})");
    server.moveDate(std::chrono::seconds{5});
    ask(R"({"text":"seconde"})");
    const QJsonArray both = discussions();
    ASSERT_EQ(both.size(), 2);
    EXPECT_EQ(both.at(0)[QLatin1String("name")].toString(), QStringLiteral("seconde"));
    EXPECT_EQ(both.at(1)[QLatin1String("name")].toString(), QStringLiteral("première question"));
    EXPECT_EQ(list(client("GET", "/api/v1/discussions.json?limit=1")).size(), 1);
}

TEST_F(QueryApiTest, aTurnThatWasAnsweredElsewhereIsFiled) {
    const Answer answer =
        client("POST", "/api/v1/queries/import.json",
               R"({"text":"q","response_text":"r","model":"m","channel":"desktop","language":"fr-FR"})");
    EXPECT_EQ(answer.status, 200);
    const qint64 discussion = answer.json().value(QLatin1String("discussion_id")).toInteger();
    EXPECT_GT(discussion, 0);
    client("POST", "/api/v1/queries/import.json",
           R"({"text":"q","response_text":"r","model":"m","discussion_id":)" + QByteArray::number(discussion) + "}");
    EXPECT_EQ(discussions().at(0)[QLatin1String("queries_count")].toInt(), 2);
}

TEST_F(QueryApiTest, discussionZeroIsANewOne) {
    EXPECT_EQ(ask(R"({"text":"aide","discussion_id":0})").status, 200);
    EXPECT_EQ(ask(R"({"text":"aide","discussion_id":null})").status, 200);
    EXPECT_EQ(discussions().size(), 2);
}

TEST_F(QueryApiTest, badQueriesAreRefusedAndLeaveNothing) {
    for (const auto& [body, status] : std::initializer_list<std::pair<QByteArray, int>>{
             {"", 400},
             {"[]", 400},
             {"{}", 422},
             {R"({"text":""})", 422},
             {R"({"text":" \n"})", 422},
             {R"({"text":7})", 422},
             {R"({"text":"a","provider":7})", 422},
             {R"({"text":"a","model":")" + QByteArray(300, 'x') + "\"}", 422},
             {R"({"text":"a","discussion_id":"1"})", 422},
             {R"({"text":"a","discussion_id":1.5})", 422},
             {R"({"text":"a","discussion_id":99})", 404},
             {R"({"text":")" + QByteArray(300 * 1024, 'x') + "\"}", 422},
             {QByteArray(2 * 1024 * 1024, ' '), 413}}) {
        const Answer answer = ask(body);
        EXPECT_EQ(answer.status, status) << body.left(60).toStdString();
        EXPECT_FALSE(answer.error().isEmpty());
    }
    EXPECT_EQ(client("POST", "/api/v1/queries/import.json", R"({"text":"q"})").status, 422);
    EXPECT_TRUE(discussions().isEmpty());
}

TEST_F(QueryApiTest, aConversationTakesAToken) {
    token = "nobody";
    EXPECT_EQ(ask(R"({"text":"aide"})").status, 401);
    EXPECT_EQ(client("GET", "/api/v1/discussions.json").status, 401);
}

TEST_F(QueryApiTest, whatCanBeChosenIsPublic) {
    TlsPeer peer = server.connect();
    const QJsonArray providers = list(peer.request("GET", "/api/v1/providers.json"));
    ASSERT_EQ(providers.size(), 1);
    EXPECT_EQ(providers.at(0)[QLatin1String("models")][0][QLatin1String("slug")].toString(),
              QStringLiteral("vennic-simple"));
    EXPECT_EQ(peer.request("GET", "/api/v1/local_llm/catalog.json").body, QByteArray(R"({"models":[]})"));
}

} // namespace vennic::server::test
