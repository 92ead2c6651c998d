#include "linux/FolderUsagePosix.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic {
namespace {

struct FolderUsagePosixTest : testing::Test {
    QTemporaryDir folder;
    FolderUsagePosix usage;

    QByteArray native(const char* name) { return QFile::encodeName(folder.filePath(QString::fromUtf8(name))); }
    void write(const char* name, int bytes) {
        QFile file(folder.filePath(QString::fromUtf8(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(bytes, 'x'));
    }
    qint64 blocks(const char* name) {
        struct stat status{};
        EXPECT_EQ(lstat(native(name).constData(), &status), 0);
        return static_cast<qint64>(status.st_blocks) * 512;
    }
    qint64 bytes() { return usage.allocatedBytes(folder.path()); }
};

TEST_F(FolderUsagePosixTest, everythingBelowCountsByItsBlocks) {
    QDir(folder.path()).mkpath(QStringLiteral("a/.b"));
    write("one", 100'000);
    write("a/.b/two", 5'000);
    EXPECT_EQ(bytes(), blocks("") + blocks("a") + blocks("a/.b") + blocks("one") + blocks("a/.b/two"));
}

TEST_F(FolderUsagePosixTest, aFileWithTwoNamesCountsOnce) {
    write("one", 100'000);
    const qint64 before = bytes();
    ASSERT_EQ(link(native("one").constData(), native("two").constData()), 0);
    EXPECT_EQ(bytes(), before);
}

TEST_F(FolderUsagePosixTest, aLinkIsNotFollowed) {
    QTemporaryDir elsewhere;
    QFile big(elsewhere.filePath(QStringLiteral("big")));
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    big.write(QByteArray(1'000'000, 'x'));
    big.close();
    const qint64 before = bytes();
    ASSERT_EQ(symlink(QFile::encodeName(elsewhere.path()).constData(), native("folder").constData()), 0);
    ASSERT_EQ(symlink(QFile::encodeName(big.fileName()).constData(), native("file").constData()), 0);
    EXPECT_LT(bytes(), before + 100'000);
}

TEST_F(FolderUsagePosixTest, aHoleTakesNothing) {
    ASSERT_EQ(close(creat(native("sparse").constData(), 0600)), 0);
    ASSERT_EQ(truncate(native("sparse").constData(), 1 << 30), 0);
    EXPECT_LT(bytes(), 1 << 20);
}

TEST_F(FolderUsagePosixTest, whatIsNotThereTakesNothing) {
    EXPECT_EQ(usage.allocatedBytes(folder.filePath(QStringLiteral("none"))), 0);
    EXPECT_EQ(usage.allocatedBytes(QStringLiteral("relative")), 0);
    EXPECT_EQ(usage.allocatedBytes({}), 0);
}

TEST_F(FolderUsagePosixTest, removingTakesTheFolderAndLeavesWhatItsLinksName) {
    QDir(folder.path()).mkpath(QStringLiteral("gone/deep"));
    write("kept", 10);
    write("gone/deep/file", 10);
    ASSERT_EQ(symlink(native("kept").constData(), native("gone/link").constData()), 0);
    usage.removeFolder(folder.filePath(QStringLiteral("gone")));
    EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("gone"))));
    EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("kept"))));
}

TEST_F(FolderUsagePosixTest, aFolderThatCanNotBeRemovedSaysWhy) {
    EXPECT_THROW(usage.removeFolder(QStringLiteral("relative")), LocalizedError);
    EXPECT_THROW(usage.removeFolder(QStringLiteral("/proc/self/fd")), LocalizedError);
}

} // namespace
} // namespace vennic
