#include "linux/thumbnail/SandboxedCommand.h"

#include "linux/FileDescriptor.h"
#include "linux/worker/OpenedDocument.h"
#include "worker/WorkerFolder.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <sys/eventfd.h>
#include <thread>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

class SandboxedCommandTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SandboxedCommand::isPossible()) << "bubblewrap is not installed"; }

    /// Runs a script that finds the input as $1 and the output as $2. The shell is the one process that there may be:
    /// another program takes its place by "exec".
    bool run(const QByteArray& script, std::chrono::milliseconds mostTime = 20s, std::stop_token stop = {}) {
        return run({"sh", "-c", script, "sh", SandboxedCommand::inputInside(input_), SandboxedCommand::outputInside()},
                   mostTime, std::move(stop));
    }
    bool run(const QList<QByteArray>& command, std::chrono::milliseconds mostTime = 20s, std::stop_token stop = {}) {
        return SandboxedCommand{.command = command, .mostTime = mostTime}.run(opened(input_), output_,
                                                                              abandon_.number(), std::move(stop));
    }
    /// What the script writes; it must succeed.
    QByteArray written(const QByteArray& script) {
        EXPECT_TRUE(run("exec > $2; " + script)) << script.toStdString();
        return fileBytes(output_);
    }
    bool python(const QByteArray& program) { return run(QList<QByteArray>{"python3", "-c", program}); }
    static OpenedDocument opened(const QString& path) {
        return OpenedDocument(path, std::numeric_limits<qint64>::max());
    }

    WorkerFolder folder_;
    QString input_ = folder_.add(QStringLiteral("Été à la mer.MP4"), "a film");
    QString output_ = folder_.add(QStringLiteral("out"), {});
    FileDescriptor abandon_{eventfd(0, EFD_CLOEXEC)};
};

} // namespace

TEST_F(SandboxedCommandTest, aProgramReadsItsFileAndWritesItsOther) {
    EXPECT_EQ(written("exec cat $1"), "a film");
    EXPECT_EQ(written("echo $1"), "/tmp/document.MP4\n");
}

TEST_F(SandboxedCommandTest, aProgramThatFailsOrIsNotThereFails) {
    EXPECT_FALSE(run("exit 3"));
    EXPECT_FALSE(run("kill -9 $$"));
    EXPECT_FALSE(run(QList<QByteArray>{"no-such-program-4711"}));
    EXPECT_FALSE(run(QList<QByteArray>{}));
    EXPECT_TRUE(run(QList<QByteArray>{"true"}));
}

TEST_F(SandboxedCommandTest, nothingElseOfTheUsersIsWithinItsReach) {
    const QString secret = folder_.add(QStringLiteral("secret"), "4711");
    EXPECT_FALSE(run("exec cat " + secret.toUtf8()));
    EXPECT_FALSE(run("echo x > $1"));
    EXPECT_EQ(fileBytes(input_), "a film");
    EXPECT_FALSE(run("echo x > /usr/vennic-was-here"));
    EXPECT_EQ(written("exec ls /tmp").simplified(), "document.MP4 thumbnail.png");
    EXPECT_FALSE(run("exec ls -d /home /root /etc/passwd /run /var/lib"));
    EXPECT_EQ(written("echo $HOME ${DBUS_SESSION_BUS_ADDRESS-none} ${DISPLAY-none} ${XDG_RUNTIME_DIR-none}").trimmed(),
              "/tmp none none none");
}

TEST_F(SandboxedCommandTest, itSeesNoOtherProcessAndNoNetwork) {
    EXPECT_FALSE(run("kill -0 " + QByteArray::number(getpid())));
    EXPECT_EQ(written("exec cat /proc/net/route").simplified(),
              "Iface Destination Gateway Flags RefCnt Use Metric Mask MTU "
              "Window IRTT");
}

TEST_F(SandboxedCommandTest, whatItWritesIsBounded) {
    EXPECT_FALSE(run("exec dd if=/dev/zero of=$2 bs=1048576 count=64"));
    EXPECT_LE(QFileInfo(output_).size(), 16 << 20);
    const QByteArray mebibyte = "b=12345678; for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17; do b=$b$b; done; ";
    const auto fill = [&](const char* files) {
        return run(
            mebibyte + "for i in " + files +
            "; do for j in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15; do printf %s $b >> /tmp/$i || exit 1; done; done");
    };
    EXPECT_TRUE(fill("1 2 3 4"));
    EXPECT_FALSE(fill("1 2 3 4 5"));
    for (const char* const place : {"/x", "/dev/x", "/dev/shm/x", "/proc/x"})
        EXPECT_FALSE(run("echo x > " + QByteArray(place))) << place;
}

TEST_F(SandboxedCommandTest, itEndsWithItsTimeWhateverItDoesAboutIt) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(run("exec sleep 1000", 300ms));
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
    EXPECT_FALSE(run("exec sleep 1000"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    other.join();
}

TEST_F(SandboxedCommandTest, itEndsWhenItIsToldToStop) {
    std::stop_source stop;
    std::thread other([&] { stop.request_stop(); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(run("exec sleep 1000", 20s, stop.get_token()));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    other.join();
    EXPECT_TRUE(childProcesses().isEmpty());
}

TEST_F(SandboxedCommandTest, itIsOneProcessWithThreads) {
    EXPECT_FALSE(run("cat $1 > $2; exit 0"));
    EXPECT_FALSE(run("(exit 0) & wait; exit 0"));
    EXPECT_FALSE(python("import os; os.fork()"));
    EXPECT_FALSE(python("import os; os.posix_spawn('/bin/true', ['true'], {})"));
    EXPECT_FALSE(python("import subprocess; subprocess.run(['true'])"));
    EXPECT_TRUE(python("import threading; t = threading.Thread(target=print); t.start(); t.join()"));
}

TEST_F(SandboxedCommandTest, itHasNoMoreMemoryThanOneAddressSpaceMayHave) {
    EXPECT_TRUE(python("b = bytearray(256 << 20)"));
    EXPECT_FALSE(python("b = bytearray(2 << 30)"));
    EXPECT_FALSE(python("import mmap; mmap.mmap(-1, 2 << 30)")); // shared, and so not in the limit of data
    EXPECT_FALSE(python("import os; os.memfd_create('x')"));
    EXPECT_FALSE(python("import ctypes; exit(ctypes.CDLL(None).shmget(0, 4096, 0o1600) < 0)"));
    EXPECT_FALSE(python("import ctypes; exit(ctypes.CDLL(None).unshare(0x10000000) < 0)"));
    const QString limits = QString::fromUtf8(written("exec cat /proc/self/limits")).simplified();
    EXPECT_TRUE(limits.contains(QStringLiteral("Max processes 256 256"))) << limits.toStdString();
    EXPECT_TRUE(limits.contains(QStringLiteral("Max address space 2147483648 2147483648"))) << limits.toStdString();
}

TEST_F(SandboxedCommandTest, itGetsTheFileThatWasOpenedOrNone) {
    const QString secret = folder_.add(QStringLiteral("secret.mp4"), "4711");
    const OpenedDocument before = opened(input_);
    const SandboxedCommand copy{
        .command = {"sh", "-c", "exec cat $0 > $1", SandboxedCommand::inputInside(input_), "/tmp/thumbnail.png"}};
    EXPECT_TRUE(copy.run(before, output_, -1));
    EXPECT_EQ(fileBytes(output_), "a film");
    ASSERT_EQ(rename(qPrintable(secret), qPrintable(input_)), 0);
    EXPECT_FALSE(copy.run(before, output_, -1));
    ASSERT_TRUE(QFile::remove(input_) && QFile::link(QStringLiteral("/etc/hostname"), input_));
    EXPECT_FALSE(copy.run(before, output_, -1));
    ASSERT_TRUE(QFile::remove(input_));
    EXPECT_FALSE(copy.run(before, output_, -1));
    EXPECT_EQ(fileBytes(output_), "a film");
}

TEST_F(SandboxedCommandTest, noDescriptorOfOursIsOpenInIt) {
    for (const char* const number : {"3", "4", "5", "6"})
        EXPECT_TRUE(run("test ! -e /proc/self/fd/" + QByteArray(number))) << number;
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
