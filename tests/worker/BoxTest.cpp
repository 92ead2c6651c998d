#include "worker/WorkerFolder.h"

#include <QProcess>

#include <csignal>
#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

class Box : public ::testing::TestWithParam<const char*> {
protected:
    static void expectRefused(const QStringList& box) {
        const WorkerFolder folder;
        const QString secret = folder.add(QStringLiteral("secret"), "s");
        QProcess program;
        program.setWorkingDirectory(folder.path(QString()));
        program.start(QStringLiteral(VENNIC_BOXED_ACTS), QStringList{QString::fromLatin1(GetParam()), secret} + box);
        ASSERT_TRUE(program.waitForFinished());
        if (program.exitStatus() == QProcess::CrashExit)
            EXPECT_EQ(program.exitCode(), SIGSYS); // ended by the call filter
        else
            EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
        EXPECT_EQ(fileBytes(secret), "s");
        const QDir left(folder.path(QString()));
        EXPECT_EQ(left.entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot).size(), 1);
    }
};

std::string nameOfAct(const ::testing::TestParamInfo<const char*>& info) {
    QString name = QString::fromLatin1(info.param);
    return name.remove(u'-').toStdString();
}

} // namespace

TEST_P(Box, refuses) { expectRefused({}); }

TEST_P(Box, refusesWhereThreadsAreAllowed) { expectRefused({QStringLiteral("pictures")}); }

INSTANTIATE_TEST_SUITE_P(Acts, Box,
                         ::testing::Values("read-a-secret", "read-passwd", "list-root", "write", "create",
                                           "unnamed-file", "socket", "socket-pair", "execute", "fork", "clone", "trace",
                                           "read-other-memory", "signal-parent", "signal-another", "unlink", "rename",
                                           "link", "make-folder", "change-mode", "own-signals", "memory-file", "ring",
                                           "program-kernel", "become-root", "process-settings", "executable-memory",
                                           "executable-later"),
                         nameOfAct);

#if !defined(VENNIC_SANITIZED)
// A sanitizer's run-time needs an unlimited address space, and this call.
INSTANTIATE_TEST_SUITE_P(ActsOfAReleasedProgram, Box, ::testing::Values("eat-memory", "raise-limit"), nameOfAct);
#endif
