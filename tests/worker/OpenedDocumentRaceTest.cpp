#include "linux/worker/OpenedDocument.h"
#include "ports/DocumentReader.h"

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <poll.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

/// Exchanges two names without a pause until it goes.
class Exchanger {
public:
    Exchanger(QByteArray one, QByteArray other)
        : thread_([this, one = std::move(one), other = std::move(other)] {
              while (!stop_)
                  renameat2(AT_FDCWD, one.constData(), AT_FDCWD, other.constData(), RENAME_EXCHANGE);
          }) {}
    Exchanger(const Exchanger&) = delete;
    Exchanger& operator=(const Exchanger&) = delete;
    ~Exchanger() {
        stop_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

struct OpenedDocumentRaceTest : ::testing::Test {
    QTemporaryDir disk;
    int ours = 0;
    int secrets = 0;
    int refused = 0;

    QByteArray at(const char* below) const { return QFile::encodeName(disk.filePath(QString::fromUtf8(below))); }
    void write(const char* below, const QByteArray& bytes) const {
        QFile file(disk.filePath(QString::fromUtf8(below)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    /// Opens the document for two seconds, again and again, and counts what it found.
    void readAgainAndAgain(const char* below) {
        const QString path = disk.filePath(QString::fromUtf8(below));
        for (const auto end = std::chrono::steady_clock::now() + 2s; std::chrono::steady_clock::now() < end;) {
            try {
                const OpenedDocument document(path, 1024);
                std::array<char, 16> bytes{};
                const ssize_t count = ::read(document.descriptor(), bytes.data(), bytes.size());
                ++(QByteArrayView(bytes.data(), count) == "shared" ? ours : secrets);
            } catch (const DocumentReadError&) {
                ++refused;
            }
        }
        RecordProperty("tries", ours + secrets + refused);
    }
};

} // namespace

// A link inside a share is followed wherever it leads; one of /proc, which isn't a file of anybody's, never is.
TEST_F(OpenedDocumentRaceTest, aFolderExchangedForAMagicLinkNeverLeadsThroughIt) {
    ASSERT_EQ(mkdir(at("outside").constData(), 0700), 0);
    ASSERT_EQ(mkdir(at("inner").constData(), 0700), 0);
    write("outside/note.txt", "secret");
    write("inner/note.txt", "shared");
    const int outside = open(at("outside").constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(outside, 0);
    const QByteArray magic = "/proc/self/fd/" + QByteArray::number(outside);
    ASSERT_EQ(symlink(magic.constData(), at("link").constData()), 0);
    {
        const Exchanger attacker(at("inner"), at("link"));
        readAgainAndAgain("inner/note.txt");
    }
    close(outside);
    EXPECT_EQ(secrets, 0);
    EXPECT_GT(ours, 0);
    EXPECT_GT(refused, 0); // the race was one
}

TEST_F(OpenedDocumentRaceTest, aFileExchangedForAPipeIsNeverWaitedForNorRead) {
    write("note.txt", "shared");
    ASSERT_EQ(mkfifo(at("pipe").constData(), 0600), 0);
    const int writer = open(at("pipe").constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_EQ(::write(writer, "secret", 6), 6);
    {
        const Exchanger attacker(at("note.txt"), at("pipe"));
        readAgainAndAgain("note.txt");
    }
    pollfd left{writer, POLLIN, 0};
    EXPECT_EQ(poll(&left, 1, 0), 1); // what was in the pipe is still there
    close(writer);
    EXPECT_EQ(secrets, 0);
    EXPECT_GT(ours, 0);
    EXPECT_GT(refused, 0);
}
