#include "linux/thumbnail/SandboxedCommand.h"

#include "linux/FileDescriptor.h"
#include "worker/WorkerFolder.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <thread>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

class SandboxedCommandTest : public testing::Test {
protected:
    void SetUp() override {
        if (!SandboxedCommand::isPossible())
            GTEST_SKIP() << "bubblewrap is not installed";
    }

    /// Runs a script that finds the input as $1 and the output as $2.
    bool run(const QByteArray& script, std::chrono::milliseconds mostTime = 20s) {
        SandboxedCommand command{.command = {"sh", "-c", script, "sh", SandboxedCommand::inputInside(input_),
                                             SandboxedCommand::outputInside()},
                                 .input = input_,
                                 .output = output_};
        command.mostTime = mostTime;
        return command.run(abandon_.number());
    }
    /// What the script writes; it must succeed.
    QByteArray written(const QByteArray& script) {
        EXPECT_TRUE(run("{ " + script + "\n} > $2")) << script.toStdString();
        return fileBytes(output_);
    }

    WorkerFolder folder_;
    QString input_ = folder_.add(QStringLiteral("Été à la mer.MP4"), "a film");
    QString output_ = folder_.add(QStringLiteral("out"), {});
    FileDescriptor abandon_{eventfd(0, EFD_CLOEXEC)};
};

} // namespace

TEST_F(SandboxedCommandTest, aProgramReadsItsFileAndWritesItsOther) {
    EXPECT_EQ(written("cat $1"), "a film");
    EXPECT_EQ(written("echo $1"), "/tmp/document.MP4\n");
}

TEST_F(SandboxedCommandTest, aProgramThatFailsOrIsNotThereFails) {
    EXPECT_FALSE(run("exit 3"));
    EXPECT_FALSE(run("kill -9 $$"));
    EXPECT_FALSE((SandboxedCommand{.command = {"no-such-program-4711"}, .input = input_, .output = output_}).run(-1));
    EXPECT_FALSE((SandboxedCommand{.command = {}, .input = input_, .output = output_}).run(-1));
    EXPECT_FALSE(
        (SandboxedCommand{.command = {"true"}, .input = folder_.path(QStringLiteral("absent")), .output = output_})
            .run(-1));
}

TEST_F(SandboxedCommandTest, nothingElseOfTheUsersIsWithinItsReach) {
    const QString secret = folder_.add(QStringLiteral("secret"), "4711");
    EXPECT_FALSE(run("cat " + secret.toUtf8()));
    EXPECT_FALSE(run("echo x > $1"));
    EXPECT_EQ(fileBytes(input_), "a film");
    EXPECT_FALSE(run("echo x > /usr/vennic-was-here"));
    EXPECT_EQ(written("ls /tmp").simplified(), "document.MP4 thumbnail.png");
    EXPECT_FALSE(run("ls -d /home /root /etc/passwd /run /var/lib"));
    EXPECT_EQ(written("echo $HOME ${DBUS_SESSION_BUS_ADDRESS-none} ${DISPLAY-none} ${XDG_RUNTIME_DIR-none}").trimmed(),
              "/tmp none none none");
}

TEST_F(SandboxedCommandTest, itSeesNoOtherProcessAndNoNetwork) {
    EXPECT_FALSE(run("kill -0 " + QByteArray::number(getpid())));
    EXPECT_EQ(written("cat /proc/net/route").simplified(), "Iface Destination Gateway Flags RefCnt Use Metric Mask MTU "
                                                           "Window IRTT");
}

TEST_F(SandboxedCommandTest, whatItWritesIsBounded) {
    EXPECT_FALSE(run("dd if=/dev/zero of=$2 bs=1048576 count=64"));
    EXPECT_LE(QFileInfo(output_).size(), 16 << 20);
    EXPECT_FALSE(run("for i in 1 2 3 4 5 6 7 8; do dd if=/dev/zero of=/tmp/$i bs=1048576 count=15 || exit 1; done"));
}

TEST_F(SandboxedCommandTest, itEndsWithItsTimeAndSoDoesAllThatItStarted) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(run("(setsid sleep 1000 &) ; sleep 1000", 300ms));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    EXPECT_TRUE(childProcesses().isEmpty());
    EXPECT_FALSE(run("trap '' TERM INT HUP; while :; do :; done", 300ms));
}

TEST_F(SandboxedCommandTest, itEndsWhenNobodyWaitsAnyMore) {
    std::thread other([this] {
        const std::uint64_t one = 1;
        EXPECT_EQ(write(abandon_.number(), &one, sizeof one), static_cast<ssize_t>(sizeof one));
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(run("sleep 1000"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    other.join();
}

TEST(SandboxedCommandName, keepsAPlainEndingAlone) {
    const auto inside = [](const char* path) { return SandboxedCommand::inputInside(QString::fromUtf8(path)); };
    EXPECT_EQ(inside("/a/film.mp4"), "/tmp/document.mp4");
    EXPECT_EQ(inside("/a/film.tar.gz"), "/tmp/document.gz");
    EXPECT_EQ(inside("/a/film"), "/tmp/document");
    EXPECT_EQ(inside("/a/film.m p4"), "/tmp/document");
    EXPECT_EQ(inside("/a/film.é"), "/tmp/document");
    EXPECT_EQ(inside("/a/film.../x"), "/tmp/document");
    EXPECT_EQ(inside("/a/film.abcdefghijklmnopq"), "/tmp/document");
}
