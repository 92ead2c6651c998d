#include "linux/dialog/ModalDialogsProgram.h"

#include "linux/ProcessLimits.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

class ModalDialogsProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("DISPLAY", ":7");
        qunsetenv("WAYLAND_DISPLAY");
    }
    /// A stand-in for the program, which keeps what it is told.
    ModalDialogsProgram program(const QByteArray& script) {
        QFile file(folder_.filePath(QStringLiteral("dialog")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\ncat >" + told().toUtf8() + "\n" + script + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return ModalDialogsProgram(file.fileName());
    }
    QString told() const { return folder_.filePath(QStringLiteral("told")); }
    std::optional<DialogRequest> request() const {
        QFile file(told());
        return file.open(QIODevice::ReadOnly) ? decodedDialogRequest(file.readAll()) : std::nullopt;
    }
    DialogAnswer answerOf(const QByteArray& script) {
        ModalDialogsProgram dialogs = program(script);
        return await(dialogs.ask(question));
    }

    const DialogQuestion question{QStringLiteral("« Titre »"), QStringLiteral("<b>Texte</b>\n\"à\" lire"),
                                  QStringLiteral("Oui"),       QStringLiteral("Non"),
                                  DialogStyle::question,       {}};
    QTemporaryDir folder_;
};

} // namespace

TEST_F(ModalDialogsProgramTest, theProgramIsToldTheQuestionAndItsEndIsTheAnswer) {
    EXPECT_EQ(answerOf("exit 10"), DialogAnswer::accepted);
    EXPECT_EQ(request(), DialogRequest::ofQuestion(question));
    EXPECT_EQ(answerOf("exit 11"), DialogAnswer::refused);
    EXPECT_EQ(answerOf("exit 13"), DialogAnswer::acceptedForGood);
}

TEST_F(ModalDialogsProgramTest, aDarkDesktopIsAskedAboutBeforeEachDialog) {
    ModalDialogsProgram dialogs = program("exit 10");
    bool dark = true;
    dialogs.setDark([&] { return dark; });
    await(dialogs.ask(question));
    EXPECT_TRUE(request() && request()->isDark);
    dark = false;
    await(dialogs.warn(question.title, question.informativeText));
    EXPECT_TRUE(request() && !request()->isDark);
}

TEST_F(ModalDialogsProgramTest, whetherADialogIsShownIsKnownAndItsEndIsTold) {
    ModalDialogsProgram dialogs = program("while [ ! -e " + told().toUtf8() + ".go ]; do sleep 0.02; done; exit 11");
    int closings = 0;
    dialogs.onClosed([&] { ++closings; });
    EXPECT_FALSE(dialogs.isShowing());
    Scope scope;
    for (int shown = 0; shown < 2; ++shown)
        scope.start(dialogs.warn(question.title, question.informativeText));
    EXPECT_TRUE(waitUntil([&] { return dialogs.isShowing() && QFile::exists(told()); }));
    EXPECT_EQ(closings, 0);
    QFile go(told() + QStringLiteral(".go"));
    ASSERT_TRUE(go.open(QIODevice::WriteOnly));
    EXPECT_TRUE(waitUntil([&] { return !dialogs.isShowing(); }));
    EXPECT_EQ(closings, 1) << "when the last one has gone";
}

TEST_F(ModalDialogsProgramTest, anyOtherEndMeansThatNobodyWasAsked) {
    for (const char* script : {"exit 0", "exit 1", "exit 12", "kill -ABRT $$", "kill -KILL $$", "exit 255"})
        EXPECT_EQ(answerOf(script), DialogAnswer::none) << script;
    ModalDialogsProgram absent(QStringLiteral("/nulle/part"));
    EXPECT_EQ(await(absent.ask(question)), DialogAnswer::none);
}

TEST_F(ModalDialogsProgramTest, aProgramThatDoesNotListenIsAnsweredToo) {
    ModalDialogsProgram dialogs = program({});
    QFile file(folder_.filePath(QStringLiteral("dialog")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\nexec 0<&-\nexit 10\n");
    file.close();
    DialogQuestion large = question;
    large.informativeText = QString(60'000, u'x');
    EXPECT_EQ(await(dialogs.ask(large)), DialogAnswer::accepted);
}

TEST_F(ModalDialogsProgramTest, withoutAScreenNothingIsStarted) {
    ModalDialogsProgram dialogs = program("exit 10");
    qunsetenv("DISPLAY");
    EXPECT_FALSE(dialogs.hasScreen());
    EXPECT_EQ(await(dialogs.ask(question)), DialogAnswer::none);
    EXPECT_FALSE(QFile::exists(told()));
    qputenv("DISPLAY", "");
    EXPECT_FALSE(dialogs.hasScreen());
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_TRUE(dialogs.hasScreen());
}

TEST_F(ModalDialogsProgramTest, aWarningIsShownOrElseSaidOnStandardError) {
    ModalDialogsProgram dialogs = program("exit 10");
    ::testing::internal::CaptureStderr();
    await(dialogs.warn(QStringLiteral("Photo"), QStringLiteral("Introuvable.")));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(request(), DialogRequest::ofWarning(QStringLiteral("Photo"), QStringLiteral("Introuvable.")));
    qunsetenv("DISPLAY");
    ::testing::internal::CaptureStderr();
    await(dialogs.warn(QStringLiteral("Photo"), QStringLiteral("Introuvable.")));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Photo : Introuvable.\n");
    qputenv("DISPLAY", ":7");
    ModalDialogsProgram broken = program("kill -ABRT $$");
    ::testing::internal::CaptureStderr();
    await(broken.warn(QStringLiteral("Photo"), QStringLiteral("Introuvable.")));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Photo : Introuvable.\n");
}

TEST_F(ModalDialogsProgramTest, nothingOfOursReachesTheDialogButTheEnvironment) {
    for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "NOTIFY_SOCKET"})
        qputenv(name, "stale");
    qputenv("XDG_RUNTIME_DIR", "/run/user/7");
    qputenv("LANG", "fr_FR.UTF-8");
    ::umask(0027);
    limitProcess();
    QFile open(folder_.filePath(QStringLiteral("open")));
    ASSERT_TRUE(open.open(QIODevice::WriteOnly));
    ASSERT_GE(::dup(open.handle()), 0); // without close-on-exec
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &held, nullptr);
    const QString seen = folder_.filePath(QStringLiteral("seen"));
    EXPECT_EQ(answerOf("exec >" + seen.toUtf8() +
                       "; ls /proc/$$/fd; echo $$ $(cut -d' ' -f5,6 /proc/$$/stat); umask\n"
                       "env | grep -E '^(XDG_ACT|XDG_RUN|DESKTOP_S|NOTIFY|DISPLAY|LANG=)' | sort\n"
                       "grep SigBlk /proc/self/status; exit 10"),
              DialogAnswer::accepted);
    pthread_sigmask(SIG_UNBLOCK, &held, nullptr);
    QFile file(seen);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
    qunsetenv("NOTIFY_SOCKET");
    ASSERT_EQ(lines.size(), 10);
    EXPECT_EQ(lines.mid(0, 4), (QList<QByteArray>{"0", "1", "10", "2"})); // 10 is the shell's own, for its script
    const QList<QByteArray> ids = lines[4].split(' ');
    EXPECT_EQ(ids, (QList<QByteArray>{ids[0], ids[0], ids[0]})); // process, group and session
    EXPECT_EQ(lines[5], "0027");
    EXPECT_EQ(lines.mid(6, 3), (QList<QByteArray>{"DISPLAY=:7", "LANG=fr_FR.UTF-8", "XDG_RUNTIME_DIR=/run/user/7"}));
    EXPECT_EQ(lines[9], "SigBlk:\t0000000000000000");
}

TEST_F(ModalDialogsProgramTest, whoWaitsNoMoreTakesTheDialogAway) {
    ModalDialogsProgram dialogs =
        program("echo $$ >" + folder_.filePath(QStringLiteral("pid")).toUtf8() + ".new; mv \"$0\" \"$0.gone\"; mv " +
                folder_.filePath(QStringLiteral("pid")).toUtf8() + ".new " +
                folder_.filePath(QStringLiteral("pid")).toUtf8() + "; exec sleep 600");
    Scope scope;
    struct Waiting {
        static Task<> on(ModalDialogsProgram* dialogs, DialogQuestion question) { co_await dialogs->ask(question); }
    };
    Job job = scope.start(Waiting::on(&dialogs, question));
    QFile pid(folder_.filePath(QStringLiteral("pid")));
    ASSERT_TRUE(waitUntil([&] { return pid.exists(); }));
    ASSERT_TRUE(pid.open(QIODevice::ReadOnly));
    const auto process = static_cast<pid_t>(pid.readAll().trimmed().toInt());
    EXPECT_EQ(kill(process, 0), 0);
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    EXPECT_EQ(kill(process, 0), -1);
}

TEST(DialogRequest, onlyAWholeRequestOfAModestSizeIsTaken) {
    const DialogRequest request = DialogRequest::ofWarning(QStringLiteral("Photo"), QStringLiteral("Perdue."));
    const QByteArray json = encoded(request);
    EXPECT_EQ(decodedDialogRequest(json), request);
    for (
        const QByteArray& bytes :
        {QByteArray(), QByteArray("{}"), QByteArray("[]"), json.chopped(1),
         QByteArray(
             R"({"title":1,"text":"","accept":"","refuse":"","informational":false,"suppression":"","warning":true})"),
         QByteArray(
             R"({"title":"","text":"","accept":"","refuse":"","informational":false,"suppression":"","warning":"yes"})"),
         QByteArray(R"({"title":"","text":"","accept":"","refuse":"","warning":true})"),
         QByteArray(DialogRequest::mostBytes, ' ') + json})
        EXPECT_FALSE(decodedDialogRequest(bytes)) << bytes.left(80).toStdString();
}
