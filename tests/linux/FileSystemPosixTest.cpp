#include "linux/FileSystemPosix.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic::test {

class FileSystemPosixTest : public testing::Test {
protected:
    QString in(const QString& name) const { return folder_.filePath(name); }
    static void write(const QString& path, const QByteArray& content = {}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QTemporaryDir folder_;
    FileSystemPosix files_;
};

TEST_F(FileSystemPosixTest, aFileHasItsSizeAndItsDate) {
    write(in(QStringLiteral("été.txt")), "hello");
    const timespec times[2]{{1'700'000'000, 0}, {1'600'000'000, 123'999'999}};
    ASSERT_EQ(utimensat(AT_FDCWD, in(QStringLiteral("été.txt")).toUtf8().constData(), times, 0), 0);
    const auto values = files_.values(in(QStringLiteral("été.txt")));
    ASSERT_TRUE(values);
    EXPECT_FALSE(values->isDirectory);
    EXPECT_EQ(values->size, 5);
    EXPECT_EQ(values->changedAt, QDateTime::fromMSecsSinceEpoch(1'600'000'000'123, Qt::UTC));
    EXPECT_EQ(values->changedAt->timeSpec(), Qt::UTC);
    EXPECT_EQ(values->volumeIsLocal, true);
}

TEST_F(FileSystemPosixTest, aDateBeforeTheEpochIsKept) {
    write(in(QStringLiteral("old")));
    const timespec times[2]{{0, 0}, {-86400, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, in(QStringLiteral("old")).toUtf8().constData(), times, 0), 0);
    EXPECT_EQ(files_.values(in(QStringLiteral("old")))->changedAt, QDateTime::fromSecsSinceEpoch(-86400, Qt::UTC));
}

TEST_F(FileSystemPosixTest, onlyRegularFilesHaveASize) {
    ASSERT_EQ(mkfifo(in(QStringLiteral("pipe")).toUtf8().constData(), 0600), 0);
    const auto folder = files_.values(folder_.path());
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->isDirectory);
    EXPECT_EQ(folder->size, std::nullopt);
    const auto pipe = files_.values(in(QStringLiteral("pipe")));
    ASSERT_TRUE(pipe);
    EXPECT_FALSE(pipe->isDirectory);
    EXPECT_EQ(pipe->size, std::nullopt);
}

TEST_F(FileSystemPosixTest, aLinkHasTheValuesOfWhatItLeadsTo) {
    write(in(QStringLiteral("file")), "1234");
    QFile::link(in(QStringLiteral("file")), in(QStringLiteral("link")));
    QFile::link(in(QStringLiteral("nothing")), in(QStringLiteral("dangling")));
    QFile::link(in(QStringLiteral("circle")), in(QStringLiteral("circle")));
    EXPECT_EQ(files_.values(in(QStringLiteral("link")))->size, 4);
    EXPECT_EQ(files_.values(in(QStringLiteral("dangling"))), std::nullopt);
    EXPECT_EQ(files_.values(in(QStringLiteral("circle"))), std::nullopt);
}

TEST_F(FileSystemPosixTest, aPathThatNoFileCanHaveHasNoValues) {
    EXPECT_EQ(files_.values({}), std::nullopt);
    EXPECT_EQ(files_.values(QStringLiteral("relative")), std::nullopt);
    EXPECT_EQ(files_.values(folder_.path() + QChar::Null + QStringLiteral("x")), std::nullopt);
    EXPECT_EQ(files_.values(folder_.path() + u'/' + QChar(0xd800)), std::nullopt);
    EXPECT_EQ(files_.values(folder_.path() + u'/' + QString(100'000, u'a')), std::nullopt);
    write(in(QStringLiteral("file")));
    EXPECT_EQ(files_.values(in(QStringLiteral("file/below"))), std::nullopt);
}

TEST_F(FileSystemPosixTest, aNameOfAnyCharacterIsFound) {
    const QString name = QStringLiteral("a\nb\t\"' *?\\ ") + QString(200, u'n') + QStringLiteral("🎉");
    write(in(name), "x");
    EXPECT_EQ(files_.values(in(name))->size, 1);
    EXPECT_EQ(files_.walk(folder_.path())->next(), in(name));
}

TEST_F(FileSystemPosixTest, theHomeDirectoryIsTheEnvironmentsWhenItIsAbsolute) {
    const char* const account = getpwuid(geteuid())->pw_dir;
    setenv("HOME", "/tmp/maison//", 1);
    EXPECT_EQ(files_.homeDirectory(), QStringLiteral("/tmp/maison"));
    for (const char* useless : {"", "relative/home", "/bad\xff"}) {
        setenv("HOME", useless, 1);
        EXPECT_EQ(files_.homeDirectory(), QString::fromUtf8(account)) << useless;
    }
    unsetenv("HOME");
    EXPECT_EQ(files_.homeDirectory(), QString::fromUtf8(account));
    setenv("HOME", "///", 1);
    EXPECT_EQ(files_.homeDirectory(), QStringLiteral("/"));
}

} // namespace vennic::test
