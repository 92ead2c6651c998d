#include "linux/ProgramRunnerPiped.h"

#include "base/LocalizedError.h"
#include "support/Await.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct ProgramRunnerPipedTest : ::testing::Test {
    ProgramRunnerPiped runner;
    QTemporaryDir folder;
    QByteArrayList pieces;

    static ProgramCommand shell(const QString& script) {
        return {QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script}};
    }
    int run(const ProgramCommand& command) {
        return await(runner.run(command, [this](const QByteArray& piece) { pieces.append(piece); }));
    }
    int runShell(const char* script) { return run(shell(QString::fromUtf8(script))); }
    QByteArray heard() const { return pieces.join(); }

    QString file(const char* name) const { return folder.filePath(QLatin1String(name)); }
    QByteArray contentOf(const char* name) const {
        QFile opened(file(name));
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
    }
    /// Starts a script that tells its process id and goes on with `then`; gives that id.
    pid_t startScript(Scope& scope, Job* job, const char* then, ProgramRunner::OnOutput onOutput = {}) {
        const QString script =
            QStringLiteral("echo $$ > '%1.new'; mv '%1.new' '%1'\n").arg(file("pid")) + QString::fromUtf8(then);
        if (!onOutput)
            onOutput = [](const QByteArray&) {};
        *job = scope.start(ignoreEnd(&runner, shell(script), std::move(onOutput)));
        if (!waitUntil([&] { return QFile::exists(file("pid")); }))
            return 0;
        return contentOf("pid").trimmed().toInt();
    }
    static Task<> ignoreEnd(ProgramRunnerPiped* runner, ProgramCommand command, ProgramRunner::OnOutput onOutput) {
        co_await runner->run(std::move(command), std::move(onOutput));
    }
    static bool lives(pid_t process) {
        QFile status(QStringLiteral("/proc/%1/stat").arg(process));
        return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
    }
    /// Bytes that a process has written so far; 0 once it has ended.
    static qint64 writtenBy(pid_t process) {
        QFile io(QStringLiteral("/proc/%1/io").arg(process));
        if (!io.open(QIODevice::ReadOnly))
            return 0;
        for (const QByteArray& line : io.readAll().split('\n')) {
            if (line.startsWith("wchar: "))
                return line.mid(7).toLongLong();
        }
        return 0;
    }
    static qsizetype descriptors() {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    }
};

} // namespace

TEST_F(ProgramRunnerPipedTest, bothOutputsAreOneStreamInTheOrderInWhichTheyWereWritten) {
    EXPECT_EQ(runShell("echo un; echo deux >&2; echo trois; exit 4"), 4);
    EXPECT_EQ(heard(), "un\ndeux\ntrois\n");
    pieces.clear();
    runShell("[ \"$(readlink /proc/$$/fd/1)\" = \"$(readlink /proc/$$/fd/2)\" ] && echo un seul tube");
    EXPECT_EQ(heard(), "un seul tube\n");
}

TEST_F(ProgramRunnerPipedTest, whatIsWrittenIsHeardWhileTheProgramRuns) {
    Scope scope;
    Job job;
    QByteArray words;
    const QString gate = file("gate");
    ASSERT_EQ(::mkfifo(QFile::encodeName(gate).constData(), 0600), 0);
    const QByteArray script = "echo avant; read x < '" + QFile::encodeName(gate) + "'; echo après";
    ASSERT_GT(startScript(scope, &job, script.constData(), [&](const QByteArray& piece) { words += piece; }), 0);
    ASSERT_TRUE(waitUntil([&] { return words == "avant\n"; }));
    QFile opened(gate);
    ASSERT_TRUE(opened.open(QIODevice::WriteOnly));
    opened.write("va\n");
    opened.close();
    EXPECT_TRUE(waitUntil([&] { return words == "avant\naprès\n" && scope.size() == 0; }));
}

TEST_F(ProgramRunnerPipedTest, thereIsNothingToReadAndNoShellInBetween) {
    EXPECT_EQ(runShell("readlink /proc/$$/fd/0"), 0);
    EXPECT_EQ(heard(), "/dev/null\n");
    pieces.clear();
    const QString words = QStringLiteral("$(id) `id` ; | && * 'a' \"b\" \\ é");
    EXPECT_EQ(run({QStringLiteral("/bin/echo"), {words, QStringLiteral("")}}), 0);
    EXPECT_EQ(heard(), words.toUtf8() + " \n");
}

TEST_F(ProgramRunnerPipedTest, variablesAreAddedToOursOrTakeTheirPlace) {
    qputenv("VENNIC_TEST_OURS", "ours");
    qputenv("VENNIC_TEST_BOTH", "ours");
    qputenv("NOTIFY_SOCKET", "/run/x");
    ProgramCommand command = shell(QStringLiteral("echo $VENNIC_TEST_OURS $VENNIC_TEST_BOTH \"$NEW\" $NOTIFY_SOCKET."));
    command.variables = {{QStringLiteral("VENNIC_TEST_BOTH"), QStringLiteral("theirs")},
                         {QStringLiteral("NEW"), QStringLiteral("a  b\né=$x")}};
    EXPECT_EQ(run(command), 0);
    EXPECT_EQ(heard(), "ours theirs a  b\né=$x .\n");
    EXPECT_EQ(qgetenv("VENNIC_TEST_BOTH"), "ours");
    qunsetenv("NOTIFY_SOCKET");
}

TEST_F(ProgramRunnerPipedTest, deathByASignalCountsAsShellsCountIt) {
    EXPECT_EQ(runShell("kill -KILL $$"), 128 + SIGKILL);
    EXPECT_EQ(runShell("kill -TERM $$"), 128 + SIGTERM);
}

TEST_F(ProgramRunnerPipedTest, aProgramThatCannotBeStartedIsToldInThePlatformsWords) {
    for (const auto& [path, content] :
         {std::pair{file("absent"), QByteArray()}, {file("texte"), QByteArray("texte")}}) {
        if (!content.isEmpty()) {
            QFile written(path);
            ASSERT_TRUE(written.open(QIODevice::WriteOnly));
            written.write(content);
        }
        try {
            run({path, {}});
            FAIL() << path.toStdString();
        } catch (const LocalizedError& error) {
            EXPECT_TRUE(error.errorDescription().contains(path)) << error.errorDescription().toStdString();
        }
    }
    EXPECT_THROW(run({QStringLiteral("/bin/echo"), {QStringLiteral("a") + QChar(QChar::Null)}}), LocalizedError);
}

TEST_F(ProgramRunnerPipedTest, aHundredMegabytesAreHeardWholeAndTheProgramIsNeverFarAhead) {
    constexpr qint64 all = 100'000'000;
    constexpr qint64 piece = 64 << 10;
    Scope scope;
    Job job;
    qint64 bytes = 0;
    qint64 largest = 0;
    qint64 furthest = 0;
    pid_t process = 0;
    process = startScript(scope, &job, "exec head -c 100000000 /dev/zero", [&](const QByteArray& heardPiece) {
        bytes += heardPiece.size();
        largest = std::max<qint64>(largest, heardPiece.size());
        furthest = std::max(furthest, writtenBy(process) - bytes);
    });
    ASSERT_GT(process, 0);
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }, std::chrono::minutes{1}));
    EXPECT_EQ(bytes, all);
    EXPECT_LE(largest, piece);
    EXPECT_GT(furthest, 0); // it was watched
    // What lies between is the pipe's content, and what the script wrote elsewhere.
    EXPECT_LE(furthest, 2 * piece);
}

TEST_F(ProgramRunnerPipedTest, whoWritesWithoutAnEndLeavesTheMainThreadTimeForOtherThings) {
    Scope scope;
    Job job;
    int heardPieces = 0;
    ASSERT_GT(startScript(scope, &job, "exec yes", [&](const QByteArray&) { ++heardPieces; }), 0);
    // Between any two pieces there is room for whatever else is waiting.
    int turns = 0;
    for (int i = 0; i < 20; ++i) {
        const int seen = heardPieces;
        bool turned = false;
        QMetaObject::invokeMethod(qApp, [&] { turned = true; }, Qt::QueuedConnection);
        ASSERT_TRUE(waitUntil([&] { return turned; }));
        turns += heardPieces - seen <= 1 ? 1 : 0;
        ASSERT_TRUE(waitUntil([&] { return heardPieces > seen; }));
    }
    EXPECT_EQ(turns, 20);
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
}

TEST_F(ProgramRunnerPipedTest, nothingIsHeardOnceTheJobHasGone) {
    auto scope = std::make_unique<Scope>();
    Job job;
    int heardPieces = 0;
    const pid_t process = startScript(*scope, &job, "exec yes", [&](const QByteArray&) { ++heardPieces; });
    ASSERT_GT(process, 0);
    ASSERT_TRUE(waitUntil([&] { return heardPieces > 2; }));
    scope.reset();
    const int then = heardPieces;
    EXPECT_TRUE(waitUntil([&] { return !lives(process); }));
    EXPECT_EQ(heardPieces, then);
}

TEST_F(ProgramRunnerPipedTest, whoHearsMayEndTheJobItself) {
    auto scope = std::make_unique<Scope>();
    Job job;
    const pid_t process =
        startScript(*scope, &job, "while :; do echo x; done", [&](const QByteArray&) { scope.reset(); });
    ASSERT_GT(process, 0);
    EXPECT_TRUE(waitUntil([&] { return scope == nullptr && !lives(process); }));
}

TEST_F(ProgramRunnerPipedTest, aCancelledProgramIsEndedWithEverythingInItsGroup) {
    Scope scope;
    Job job;
    const QByteArray child = "sleep 1000 & echo $! > '" + QFile::encodeName(file("child")) + "'; wait";
    const pid_t process = startScript(scope, &job, child.constData());
    ASSERT_GT(process, 0);
    ASSERT_TRUE(waitUntil([&] { return contentOf("child").endsWith('\n'); }));
    const pid_t below = contentOf("child").trimmed().toInt();
    ASSERT_TRUE(lives(below));
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0 && !lives(process) && !lives(below); }));
}

TEST_F(ProgramRunnerPipedTest, aProgramThatWillNotEndIsMadeTo) {
    Scope scope;
    Job job;
    const pid_t process = startScript(scope, &job, "trap '' TERM HUP INT; while :; do sleep 0.01; done");
    ASSERT_GT(process, 0);
    job.cancel();
    // Whoever waits is told at once, whatever the program makes of it.
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    EXPECT_TRUE(waitUntil([&] { return !lives(process); }));
}

TEST_F(ProgramRunnerPipedTest, whatHoldsThePipeAfterItsEndIsNotWaitedFor) {
    EXPECT_EQ(runShell("sleep 1000 & echo $!; exit 0"), 0);
    const pid_t left = heard().trimmed().toInt();
    ASSERT_GT(left, 0);
    EXPECT_TRUE(lives(left));
    ::kill(left, SIGKILL);
}

TEST_F(ProgramRunnerPipedTest, manyRunsLeaveNoDescriptorAndNoProcessBehind) {
    constexpr int rounds = 30;
    runShell("echo x");
    const auto before = descriptors();
    for (int i = 0; i < rounds; ++i) {
        EXPECT_EQ(runShell("echo x; exit 1"), 1);
        EXPECT_THROW(run({file("absent"), {}}), LocalizedError);
        Scope scope;
        Job job;
        QFile::remove(file("pid"));
        const pid_t process = startScript(scope, &job, "exec sleep 1000");
        job.cancel();
        EXPECT_TRUE(waitUntil([&] { return scope.size() == 0 && !lives(process); }));
    }
    // A thread of the pool has a descriptor of its own, and there are few of them.
    EXPECT_TRUE(waitUntil([&] { return descriptors() < before + rounds / 3; })) << descriptors() << " after " << before;
    EXPECT_TRUE(waitUntil([] { return ::waitpid(-1, nullptr, WNOHANG) == -1; }));
}
