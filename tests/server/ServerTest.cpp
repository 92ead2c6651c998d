#include "base/LocalizedError.h"
#include "server/RunningServer.h"
#include "support/Await.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <csignal>
#include <gtest/gtest.h>

namespace vennic::server::test {

namespace {
const QByteArray nextTask = "/api/v1/bridge/tasks/next?wait=1";

/// The real program as a child, on a folder that outlives it.
class Program {
public:
    explicit Program(const QTemporaryDir& folder) : folder_(folder.path()) {
        QFile::remove(readyFile());
        process_.start(
            QStringLiteral(VENNIC_SERVER_PROGRAM),
            {QStringLiteral("--data"), folder_ + QStringLiteral("/data"), QStringLiteral("--ready-file"), readyFile()});
        if (!vennic::test::waitUntil([this] { return QFile::exists(readyFile()); }))
            throw std::runtime_error(process_.readAllStandardError().toStdString());
        QFile file(readyFile());
        if (file.open(QIODevice::ReadOnly))
            ready = QJsonDocument::fromJson(file.readAll()).object();
        QFile key(ready.value(QLatin1String("owner_key_file")).toString());
        if (key.open(QIODevice::ReadOnly))
            owner = "X-Owner-Key: " + key.readAll().trimmed() + "\r\n";
    }
    ~Program() { kill(); }
    void kill() {
        process_.kill();
        process_.waitForFinished();
    }
    int terminate() {
        process_.terminate();
        process_.waitForFinished();
        return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
    }
    quint16 port() const { return ready.value(QLatin1String("url")).toString().section(u':', 2).toUShort(); }
    TlsPeer connect() const { return {port(), ready.value(QLatin1String("ca")).toString()}; }
    QByteArray output() { return process_.readAllStandardOutput(); }
    qint64 pid() const { return process_.processId(); }
    QJsonObject ready;
    QByteArray owner;

private:
    QString readyFile() const { return folder_ + QStringLiteral("/ready.json"); }
    QString folder_;
    QProcess process_;
};

QByteArray pair(const Program& program) {
    const QByteArray code = program.connect().request("POST", "/owner/pairings", program.owner).text("code");
    return program.connect()
        .request("POST", "/api/v1/pairings/claim", {}, R"({"client_kind":"mac","pairing_code":")" + code + R"("})")
        .text("user_token");
}

QByteArray submit(const Program& program, const QByteArray& kind) {
    return program.connect()
        .request("POST", "/owner/tasks", program.owner,
                 R"({"unchecked":true,"device_id":"A","kind":")" + kind + R"("})")
        .text("id");
}

QString state(const Program& program, const QByteArray& id) {
    return program.connect()
        .request("GET", "/owner/tasks/" + id, program.owner)
        .json()
        .value(QLatin1String("state"))
        .toString();
}
} // namespace

TEST(ServerTest, keepsTokensTasksAndItsPortOverARestart) {
    RunningServer server;
    const quint16 port = server.port();
    const QByteArray token = server.pair();
    const QByteArray first = server.submit("A", "read");
    const QByteArray second = server.submit("A", "search");
    server.restart();
    EXPECT_EQ(server.port(), port);
    EXPECT_EQ(server.task(second).value(QLatin1String("state")), QStringLiteral("queued"));
    EXPECT_EQ(server.connect().request("GET", nextTask, clientFields(token, "A")).text("id"), first);
}

TEST(ServerTest, takesAnotherPortWhereTheKeptOneIsTaken) {
    RunningServer server;
    const quint16 port = server.port();
    server.stop();
    const RunningServer other([port](Options& options) { options.listenPort = port; });
    server.start();
    EXPECT_NE(server.port(), port);
    EXPECT_NE(server.port(), 0);
}

TEST(ServerTest, endsWaitingPollsWith204) {
    RunningServer server;
    TlsPeer peer = server.connect();
    peer.send(requestText("GET", "/api/v1/bridge/tasks/next?wait=30", clientFields(server.pair(), "A"), {}));
    server.awaitPoll("A");
    server.stop();
    EXPECT_EQ(peer.read().status, 204);
}

TEST(ServerTest, refusesAFolderInUse) {
    RunningServer server;
    EXPECT_THROW(RunningServer([&](Options& options) { options.data = server.folder(); }), LocalizedError);
}

TEST(ServerTest, refusesADatabaseOfALaterVersion) {
    QTemporaryDir folder;
    Database(folder.filePath(QStringLiteral("vennic.sqlite"))).script("PRAGMA user_version = 99");
    EXPECT_THROW(RunningServer([&](Options& options) { options.data = folder.path(); }), DatabaseError);
}

TEST(ServerTest, refusesADamagedDatabaseAndLeavesItAlone) {
    QTemporaryDir folder;
    const QByteArray damaged(8192, 'x');
    writeWhole(folder.filePath(QStringLiteral("vennic.sqlite")), damaged, true);
    EXPECT_THROW(RunningServer([&](Options& options) { options.data = folder.path(); }), DatabaseError);
    QFile file(folder.filePath(QStringLiteral("vennic.sqlite")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), damaged);
}

TEST(ServerTest, theProgramSaysWhereItIsAndEndsCleanly) {
    QTemporaryDir folder;
    Program program(folder);
    EXPECT_EQ(program.ready.keys(),
              (QStringList{QStringLiteral("api_host"), QStringLiteral("backend_domain"), QStringLiteral("ca"),
                           QStringLiteral("console"), QStringLiteral("owner_key_file"), QStringLiteral("pairing_page"),
                           QStringLiteral("pid"), QStringLiteral("url")}));
    EXPECT_EQ(program.ready.value(QLatin1String("pid")).toInteger(), program.pid());
    EXPECT_EQ(program.ready.value(QLatin1String("console")).toString(),
              QStringLiteral("https://localhost:%1/console").arg(program.port()));
    EXPECT_EQ(program.connect().request("GET", "/console").status, 200);
    TlsPeer polling = program.connect();
    polling.send(requestText("GET", "/api/v1/bridge/tasks/next?wait=30", clientFields(pair(program), "A"), {}));
    while (!program.connect().request("GET", "/owner/machines", program.owner).body.contains("\"connected\":true")) {
    }
    EXPECT_EQ(program.terminate(), 0);
    EXPECT_EQ(polling.read().status, 204);
    EXPECT_EQ(program.output().count('\n'), 1);
    for (const char* name : {"vennic.sqlite", "owner.key", "ca.key"})
        EXPECT_FALSE(QFileInfo(folder.filePath(QStringLiteral("data/") + QLatin1String(name))).permissions() &
                     QFileDevice::ReadOther)
            << name;
}

TEST(ServerTest, aKilledProgramLosesNoTask) {
    QTemporaryDir folder;
    QByteArray token;
    QByteArray delivered;
    QByteArray queued;
    {
        Program program(folder);
        token = pair(program);
        delivered = submit(program, "search");
        queued = submit(program, "app_open");
        EXPECT_EQ(program.connect().request("GET", nextTask, clientFields(token, "A")).text("id"), delivered);
        program.kill();
    }
    {
        Program program(folder);
        EXPECT_EQ(state(program, delivered), QStringLiteral("delivered"));
        EXPECT_EQ(state(program, queued), QStringLiteral("queued"));
        const Answer answer =
            program.connect().request("PATCH", "/api/v1/bridge/tasks/" + delivered, clientFields(token, "A"),
                                      R"({"status":"done","result":{"items":[]}})");
        EXPECT_EQ(answer.status, 204);
        EXPECT_EQ(program.connect().request("GET", nextTask, clientFields(token, "A")).text("id"), queued);
        program.kill();
    }
    Program program(folder);
    EXPECT_EQ(state(program, delivered), QStringLiteral("done"));
    // It may have been opened before the kill: it isn't asked for twice.
    EXPECT_EQ(program.connect().request("GET", nextTask, clientFields(token, "A")).status, 204);
    EXPECT_EQ(state(program, queued), QStringLiteral("timeout"));
}

TEST(ServerTest, wrongUsageIsToldOnStandardError) {
    QProcess process;
    process.start(QStringLiteral(VENNIC_SERVER_PROGRAM), {QStringLiteral("--what")});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_TRUE(process.readAllStandardError().contains("--help"));
}

} // namespace vennic::server::test
