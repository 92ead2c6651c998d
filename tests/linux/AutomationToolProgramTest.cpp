#include "linux/AutomationToolProgram.h"

#include "base/LocalizedError.h"
#include "base/Pool.h"
#include "linux/ProcessLimits.h"
#include "support/AutomationsFolder.h"
#include "support/Await.h"

#include <QDir>

#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct AutomationToolProgramTest : ::testing::Test {
    AutomationsFolder folder;
    std::shared_ptr<AutomationToolProgram> tool =
        std::make_shared<AutomationToolProgram>(QStringLiteral(VENNIC_SHORTCUTS_PROGRAM));

    AutomationRun run(const char* name, const std::optional<QByteArray>& input = {}) const {
        return tool->run({QStringLiteral("run"), QString::fromUtf8(name)}, input, {});
    }
    AutomationRun runScript(const QByteArray& script, const std::optional<QByteArray>& input = {}) const {
        folder.add("script", script);
        return run("script", input);
    }
    QString failureOf(const QByteArray& script) const {
        try {
            runScript(script);
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return QStringLiteral("no failure");
    }
    /// Starts a script on the pool that does `first`, tells its process id, and goes on with `then`.
    pid_t startOnPool(Scope& scope, Job* job, const QByteArray& first, const QByteArray& then) const {
        folder.add("script", first + "\necho $$ > '" + pidFile() + ".new'; mv '" + pidFile() + ".new' '" + pidFile() +
                                 "'\n" + then);
        *job = scope.start(runOnPool(tool));
        if (!waitUntil([&] { return QFile::exists(QFile::decodeName(pidFile())); }))
            return 0;
        QFile file(QFile::decodeName(pidFile()));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toInt() : 0;
    }
    QByteArray pidFile() const { return QFile::encodeName(folder.beside("pid")); }

    static Task<> runOnPool(std::shared_ptr<AutomationToolProgram> tool) {
        co_await onPoolWaiting(runScriptOf, std::move(tool));
    }
    static void runScriptOf(const std::stop_token& stop, const std::shared_ptr<AutomationToolProgram>& tool) {
        try {
            tool->run({QStringLiteral("run"), QStringLiteral("script")}, std::nullopt, stop);
        } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): it was stopped
        }
    }
    static bool lives(pid_t process) { return ::kill(process, 0) == 0; }
};

const QByteArray fiveMegabytes = QByteArray(5'000'000, 'x');

} // namespace

TEST_F(AutomationToolProgramTest, fiveMegabytesGoThroughBothWaysAtOnce) {
    const AutomationRun run = runScript("exec cat", fiveMegabytes);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, fiveMegabytes);
}

TEST_F(AutomationToolProgramTest, bothOutputsAreReadWhileItRuns) {
    const AutomationRun run = runScript("head -c 3000000 /dev/zero >&2; head -c 3000000 /dev/zero; exit 3");
    EXPECT_EQ(run, (AutomationRun{3, QByteArray(3'000'000, '\0'), QByteArray(3'000'000, '\0')}));
}

TEST_F(AutomationToolProgramTest, anInputThatNobodyReadsEndsNothing) {
    ::signal(SIGPIPE, SIG_DFL); // it would end this process
    EXPECT_EQ(runScript("echo fait", fiveMegabytes), (AutomationRun{0, "fait\n", ""}));
    EXPECT_EQ(runScript("exec <&-; sleep 0.05; echo fait", fiveMegabytes), (AutomationRun{0, "fait\n", ""}));
    EXPECT_EQ(runScript("head -c 3; exit 0", fiveMegabytes), (AutomationRun{0, "xxx", ""}));
}

TEST_F(AutomationToolProgramTest, anAutomationThatClosesItsOutputsEarlyIsWaitedFor) {
    EXPECT_EQ(runScript("echo a; exec >&- 2>&-; sleep 0.05; exit 5"), (AutomationRun{5, "a\n", ""}));
}

TEST_F(AutomationToolProgramTest, whatHoldsThePipesAfterItsEndIsNotWaitedFor) {
    const AutomationRun run = runScript("sleep 1000 & echo $!; exit 0");
    EXPECT_EQ(run.status, 0);
    const pid_t left = run.output.trimmed().toInt();
    ASSERT_GT(left, 0);
    EXPECT_TRUE(lives(left)); // the user may have meant it to stay
    ::kill(left, SIGKILL);
}

TEST_F(AutomationToolProgramTest, whatWritesWithoutAnEndAfterItsEndIsNotReadWithoutAnEnd) {
    const AutomationRun run = runScript("yes & sleep 0.05; exit 0");
    EXPECT_EQ(run.status, 0);
    EXPECT_LE(run.output.size(), AutomationToolProgram::mostOutput);
}

TEST_F(AutomationToolProgramTest, whoWritesMoreThanTheCeilingGetsToItsEndAndTheFailureSaysSo) {
    const QByteArray more = "head -c 67108865 /dev/zero";
    EXPECT_EQ(failureOf(more + "; touch '" + pidFile() + "'; exit 0"),
              QStringLiteral("L'automatisation est allée à son terme, mais elle a écrit plus de 64 Mio : sa réponse "
                             "n'est pas transmise."));
    EXPECT_TRUE(QFile::exists(QFile::decodeName(pidFile())));
    EXPECT_EQ(runScript(more + " >&2; echo fait"), (AutomationRun{0, "fait\n", ""}));
    EXPECT_EQ(runScript(more + " >&2; exit 3"), (AutomationRun{3, "", ""}));
    const AutomationRun failed = runScript(more + "; echo non >&2; exit 4");
    EXPECT_EQ(failed.status, 4);
    EXPECT_EQ(failed.error, "non\n");
    EXPECT_EQ(failed.output.size(), AutomationToolProgram::mostOutput);
}

TEST_F(AutomationToolProgramTest, whoWritesWithoutAnEndIsStoppedLikeAnyOther) {
    Scope scope;
    Job job;
    const pid_t process = startOnPool(scope, &job, "", "exec yes");
    ASSERT_GT(process, 0);
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0 && !lives(process); }));
}

TEST_F(AutomationToolProgramTest, theCeilingItselfIsStillTaken) {
    const AutomationRun run = runScript("head -c 67108864 /dev/zero");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output.size(), AutomationToolProgram::mostOutput);
}

TEST_F(AutomationToolProgramTest, deathByASignalCountsAsShellsCountIt) {
    EXPECT_EQ(runScript("kill -KILL $$"), (AutomationRun{128 + SIGKILL, "", ""}));
    EXPECT_EQ(runScript("echo a; echo b >&2; kill -TERM $$"), (AutomationRun{128 + SIGTERM, "a\n", "b\n"}));
    EXPECT_EQ(runScript("exit 255").status, 255);
}

TEST_F(AutomationToolProgramTest, nothingOfOursReachesTheAutomationButTheEnvironment) {
    qputenv("XDG_ACTIVATION_TOKEN", "stale");
    qputenv("DESKTOP_STARTUP_ID", "stale");
    qputenv("NOTIFY_SOCKET", "/run/x");
    qputenv("VENNIC_TEST_KEPT", "kept");
    ::umask(0027);
    limitProcess();
    QFile open(folder.beside("open"));
    ASSERT_TRUE(open.open(QIODevice::WriteOnly));
    ASSERT_GE(::dup(open.handle()), 0); // without close-on-exec
    const AutomationRun run = runScript("ls /proc/$$/fd; echo $$ $(cut -d' ' -f5,6 /proc/$$/stat); pwd; umask\n"
                                        "env | grep -E '^(XDG_ACT|DESKTOP_S|NOTIFY|VENNIC_TEST)'\n"
                                        "grep -E 'Sig(Blk|Ign)' /proc/self/status");
    const QList<QByteArray> lines = run.output.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 10) << run.output.toStdString();
    EXPECT_EQ(lines.mid(0, 3), (QList<QByteArray>{"0", "1", "10"})); // 10 is the shell's own, for its script
    EXPECT_EQ(lines[3], "2");
    const QList<QByteArray> ids = lines[4].split(' ');
    EXPECT_EQ(ids, (QList<QByteArray>{ids[0], ids[0], ids[0]})); // process, group and session
    EXPECT_EQ(lines[5], QDir::homePath().toUtf8());
    EXPECT_EQ(lines[6], "0027");
    EXPECT_EQ(lines[7], "VENNIC_TEST_KEPT=kept");
    EXPECT_EQ(lines[8], "SigBlk:\t0000000000000000");
    EXPECT_EQ(lines[9], "SigIgn:\t0000000000000000");
    qunsetenv("NOTIFY_SOCKET");
}

TEST_F(AutomationToolProgramTest, withoutAnInputThereIsNothingToReadAndWithAnEmptyOneAnEmptyPipe) {
    EXPECT_EQ(runScript("readlink /proc/$$/fd/0").output, "/dev/null\n");
    EXPECT_TRUE(runScript("readlink /proc/$$/fd/0", "").output.startsWith("pipe:["));
}

TEST_F(AutomationToolProgramTest, noShellSeesTheName) {
    const QByteArray touched = QFile::encodeName(folder.beside("touched"));
    for (const QByteArray& name :
         {"$(touch '" + touched + "')", "`touch '" + touched + "'`", "x; touch '" + touched + "'",
          "x | touch '" + touched + "'", "x && touch '" + touched + "'", QByteArray("*")})
        EXPECT_EQ(run(name.constData()).status, 127) << name.toStdString();
    EXPECT_FALSE(QFile::exists(QFile::decodeName(touched)));
    folder.add("$(echo a) *; b.sh", "echo ici");
    EXPECT_EQ(run("$(echo a) *; b"), (AutomationRun{0, "ici\n", ""}));
}

TEST_F(AutomationToolProgramTest, everyOddByteInANameRunsNothing) {
    folder.add("Notes.sh", "echo couru");
    for (char16_t c = 1; c < 256; ++c) {
        for (const QString& name : {QString(QChar(c)), QStringLiteral("Notes") + QChar(c)}) {
            const AutomationRun run = tool->run({QStringLiteral("run"), name}, std::nullopt, {});
            EXPECT_EQ(run.status, 127) << int(c);
            EXPECT_EQ(run.output, "");
            EXPECT_TRUE(run.error.isValidUtf8());
        }
    }
    EXPECT_EQ(run("Notes").output, "couru\n");
}

TEST_F(AutomationToolProgramTest, aVeryLongNameIsToldBackShortened) {
    const AutomationRun run = tool->run({QStringLiteral("run"), QString(60 * 1024, u'é')}, std::nullopt, {});
    EXPECT_EQ(run.status, 127);
    EXPECT_LT(run.error.size(), 1000);
    EXPECT_TRUE(run.error.contains("…"));
    EXPECT_THROW(tool->run({QStringLiteral("run"), QString(1 << 20, u'x')}, std::nullopt, {}), LocalizedError);
}

TEST_F(AutomationToolProgramTest, whatCannotRunIsToldApart) {
    folder.add("texte.sh", "");
    QFile::setPermissions(folder.path() + QStringLiteral("/texte.sh"), QFile::ReadOwner | QFile::WriteOwner);
    folder.add("a.sh", "");
    folder.add("a.py", "");
    QFile bare(folder.path() + QStringLiteral("/nu"));
    ASSERT_TRUE(bare.open(QIODevice::WriteOnly) && bare.write("echo x\n") > 0);
    bare.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    bare.close();
    QFile lost(folder.path() + QStringLiteral("/perdu"));
    ASSERT_TRUE(lost.open(QIODevice::WriteOnly) && lost.write("#!/absent/interpréteur\n") > 0);
    lost.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    lost.close();
    EXPECT_EQ(run("texte"), (AutomationRun{126, "",
                                           "« texte » n'est pas exécutable : « chmod +x » sur « texte.sh » le "
                                           "permettra.\n"}));
    EXPECT_EQ(run("nu"), (AutomationRun{126, "",
                                        "« nu » n'est ni un programme de cette machine, ni un script dont la "
                                        "première ligne est « #! » et son interpréteur.\n"}));
    EXPECT_EQ(run("perdu"), (AutomationRun{126, "",
                                           "« perdu » nomme sur sa première ligne un interpréteur qui n'existe "
                                           "pas.\n"}));
    const AutomationRun two = run("a");
    EXPECT_EQ(two.status, 127);
    EXPECT_TRUE(two.error.startsWith("Plusieurs automatisations s'appellent « a », dis laquelle : « a."))
        << two.error.toStdString();
    EXPECT_EQ(run("a.py").status, 0);
}

TEST_F(AutomationToolProgramTest, aToolThatIsNotThereIsToldInThePlatformsWords) {
    AutomationToolProgram missing(QStringLiteral("/absent/vennic-shortcuts"));
    try {
        missing.run({QStringLiteral("list")}, std::nullopt, {});
        FAIL();
    } catch (const LocalizedError& error) {
        EXPECT_TRUE(error.errorDescription().contains(QStringLiteral("/absent/vennic-shortcuts")))
            << error.errorDescription().toStdString();
    }
}

TEST_F(AutomationToolProgramTest, aCancelledRunIsEndedWithEverythingInItsGroup) {
    Scope scope;
    Job job;
    const QByteArray child = QFile::encodeName(folder.beside("child"));
    const pid_t process = startOnPool(scope, &job, "sleep 1000 & echo $! > '" + child + "'", "wait");
    ASSERT_GT(process, 0);
    QFile file(QFile::decodeName(child));
    ASSERT_TRUE(waitUntil([&] { return file.size() > 0; }));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const pid_t below = file.readAll().trimmed().toInt();
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0 && !lives(process); }));
    // Its parent has gone, so it is somebody else's to bury: dead is enough.
    EXPECT_TRUE(waitUntil([&] {
        QFile status(QStringLiteral("/proc/%1/stat").arg(below));
        return !status.open(QIODevice::ReadOnly) || status.readAll().contains(") Z ");
    }));
}

TEST_F(AutomationToolProgramTest, aRunWhoseOwnerEndsIsEndedEvenIfItWillNot) {
    pid_t process = 0;
    {
        Scope scope;
        Job job;
        process = startOnPool(scope, &job, "trap '' TERM HUP INT", "while :; do sleep 0.01; done");
        ASSERT_GT(process, 0);
    }
    EXPECT_TRUE(waitUntil([&] { return !lives(process); }));
}

TEST_F(AutomationToolProgramTest, anAutomationIsAskedBeforeItIsEnded) {
    Scope scope;
    Job job;
    const QString tidied = folder.beside("tidied");
    const pid_t process = startOnPool(scope, &job, "trap 'touch " + QFile::encodeName(tidied) + "; exit' TERM",
                                      "while :; do sleep 0.01; done");
    ASSERT_GT(process, 0);
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return !lives(process); }));
    EXPECT_TRUE(QFile::exists(tidied));
}

TEST_F(AutomationToolProgramTest, manyRunsLeaveNoDescriptorAndNoProcessBehind) {
    folder.add("a", "echo x");
    const auto descriptors = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    };
    run("a");
    const auto before = descriptors();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(run("a", "input").output, "x\n");
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no child is left
}
