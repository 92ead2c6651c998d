#include "app/ClientWorld.h"
#include "support/Await.h"
#include "support/ChatChunks.h"

#include <QElapsedTimer>

#include <future>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

/// A program of the user's service manager that writes down what it is asked for, first on the PATH.
class SystemctlOnPath {
public:
    SystemctlOnPath() {
        QFile script(folder_.filePath(QStringLiteral("systemctl")));
        EXPECT_TRUE(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\necho \"$2\" >> '" + QFile::encodeName(asked_) + "'\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("PATH", QFile::encodeName(folder_.path()) + ':' + before_);
    }
    SystemctlOnPath(const SystemctlOnPath&) = delete;
    SystemctlOnPath& operator=(const SystemctlOnPath&) = delete;
    ~SystemctlOnPath() { qputenv("PATH", before_); }

    QByteArray asked() const {
        QFile file(asked_);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir folder_;
    QString asked_ = folder_.filePath(QStringLiteral("asked"));
    QByteArray before_ = qgetenv("PATH");
};

struct ClientEndTest : test::ClientWorld {
    int quits = 0;
    test::LoopbackServer model{{.tls = false}}; // of this machine

    void end() {
        client().end([this] { ++quits; });
    }
    /// Signs in, and out again.
    void signOut() {
        client().session().setToken(SecretText("jeton"));
        client().session().setToken(SecretText());
    }
    /// Has the model of this machine answer a turn, which a backend that answers like `filing` is to file.
    void answerHere(const test::AnswerScript& filing) {
        server.onRequest([filing](test::Wire& wire, const test::ReceivedRequest& request) {
            (request.target.endsWith("/queries/import.json") ? filing : test::answers::plain(200, "{}"))(wire, request);
        });
        model.onRequest(test::answers::plain(200, test::chunks::text("Bien") + test::chunks::done()));
        AppSession& session = client().session();
        session.setToken(SecretText("jeton"));
        session.setLocalLLMEndpoint(model.url(QStringLiteral("/v1")).toString());
        const auto end = test::await(client().chat().ask(QStringLiteral("dis"), Provider::local));
        ASSERT_TRUE(end.has_value());
        ASSERT_FALSE(end->failed) << end->text.toStdString();
    }
    int filings() { return server.count("POST", "/api/v1/queries/import.json"); }
};

} // namespace

TEST_F(ClientEndTest, withoutASignOutItEndsAtOnce) {
    end();
    EXPECT_EQ(quits, 1);
}

TEST_F(ClientEndTest, aSignOutReachesTheBackendFirst) {
    server.onRequest(test::answers::plain(204));
    signOut();
    end();
    EXPECT_EQ(quits, 0);
    ASSERT_TRUE(test::waitUntil([&] { return quits == 1; }));
    EXPECT_EQ(server.count("DELETE", "/api/v1/session"), 1);
}

TEST_F(ClientEndTest, aBackendThatRefusesHoldsUpNothing) {
    server.onRequest(test::answers::plain(500));
    signOut();
    end();
    ASSERT_TRUE(test::waitUntil([&] { return quits == 1; }));
}

TEST_F(ClientEndTest, aTurnThatWasAnsweredHereIsFiledFirst) {
    std::promise<void> mayFile;
    answerHere([filed = mayFile.get_future().share()](test::Wire& wire, const test::ReceivedRequest& request) {
        filed.wait();
        test::answers::plain(201, R"({"discussion_id":7})")(wire, request);
    });
    ASSERT_TRUE(test::waitUntil([&] { return filings() == 1; }));
    end();
    QCoreApplication::processEvents();
    EXPECT_EQ(quits, 0);
    mayFile.set_value();
    ASSERT_TRUE(test::waitUntil([&] { return quits == 1; }));
    EXPECT_EQ(client().session().discussionId(), 7);
}

TEST_F(ClientEndTest, aFilingThatNeverEndsIsGivenUp) {
    answerHere([](test::Wire& wire, const test::ReceivedRequest&) { wire.hold(); });
    end();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(test::waitUntil([&] { return quits == 1; }, 10s));
}

TEST_F(ClientEndTest, whoAsksTwiceDoesNotWait) {
    server.onRequest([](test::Wire& wire, const test::ReceivedRequest&) { wire.hold(); });
    signOut();
    end();
    EXPECT_EQ(quits, 0);
    end();
    EXPECT_EQ(quits, 1);
}

TEST_F(ClientEndTest, aBackendThatNeverAnswersIsGivenUpLongBeforeItsTimeOut) {
    server.onRequest([](test::Wire& wire, const test::ReceivedRequest&) { wire.hold(); });
    signOut();
    end();
    EXPECT_TRUE(test::waitUntil([&] { return quits == 1; }, 10s)); // the call itself may take 15
}

TEST_F(ClientEndTest, aServerThatIsBeingStartedAnewIsStartedFirst) {
    const SystemctlOnPath systemctl;
    LocalLLMInstaller& installer = client().localLLMInstaller();
    Scope jobs;
    jobs.start(installer.reloadLaunchAgent([](const QString&) {}));
    ASSERT_TRUE(test::waitUntil([&] { return installer.isReloading(); }));
    end();
    EXPECT_EQ(quits, 0);
    ASSERT_TRUE(test::waitUntil([&] { return quits == 1; }));
    EXPECT_EQ(systemctl.asked(), "stop\ndaemon-reload\nenable\nrestart\n");
}
