#include "Bridge/FileURL.h"

#include <gtest/gtest.h>

using namespace vennic;

namespace {
FileURL at(const char16_t* path) { return {QStringView(path).toString()}; }
} // namespace

TEST(FileURL, theLastComponentIsTheNameAlsoWithASlashAtTheEnd) {
    EXPECT_EQ(at(u"/a/b.txt").lastPathComponent(), QStringLiteral("b.txt"));
    EXPECT_EQ(at(u"/a/b/").lastPathComponent(), QStringLiteral("b"));
    EXPECT_EQ(at(u"/").lastPathComponent(), QStringLiteral("/"));
}

TEST(FileURL, theExtensionIsWhatFollowsTheLastDotOfTheName) {
    EXPECT_EQ(at(u"/a.d/b.tar.GZ").pathExtension(), QStringLiteral("GZ"));
    EXPECT_EQ(at(u"/a.d/b").pathExtension(), QString());
    EXPECT_EQ(at(u"/a/.env").pathExtension(), QString());
    EXPECT_EQ(at(u"/a/b.").pathExtension(), QString());
}

TEST(FileURL, theParentIsWhatHoldsIt) {
    EXPECT_EQ(at(u"/a/b/c").deletingLastPathComponent(), at(u"/a/b"));
    EXPECT_EQ(at(u"/a/b/").deletingLastPathComponent(), at(u"/a"));
    EXPECT_EQ(at(u"/a").deletingLastPathComponent(), at(u"/"));
    EXPECT_EQ(at(u"/").deletingLastPathComponent(), at(u"/"));
}

TEST(FileURL, standardisingTakesOutDotsAndEmptyPieces) {
    EXPECT_EQ(at(u"/a/./b/../c//d/").standardized(), at(u"/a/c/d"));
    EXPECT_EQ(at(u"/../../a").standardized(), at(u"/a"));
    EXPECT_EQ(at(u"/..").standardized(), at(u"/"));
    EXPECT_EQ(at(u"//a/...").standardized(), at(u"/a/..."));
}

TEST(FileURL, aComponentIsAppendedWithOneSlash) {
    EXPECT_EQ(at(u"/a").appendingPathComponent(QStringLiteral("b c")), at(u"/a/b c"));
    EXPECT_EQ(at(u"/a/").appendingPathComponent(QStringLiteral("b")), at(u"/a/b"));
    EXPECT_EQ(at(u"/").appendingPathComponent(QStringLiteral("b")), at(u"/b"));
}

TEST(FileURL, aPathLiesUnderAFolderThatItBeginsWithAndASlash) {
    EXPECT_TRUE(at(u"/a/b").isOrLiesUnder(at(u"/a/b")));
    EXPECT_TRUE(at(u"/a/b/c").isOrLiesUnder(at(u"/a/b")));
    EXPECT_FALSE(at(u"/a/bc").isOrLiesUnder(at(u"/a/b")));
    EXPECT_FALSE(at(u"/a").isOrLiesUnder(at(u"/a/b")));
    EXPECT_FALSE(at(u"/A/B/c").isOrLiesUnder(at(u"/a/b")));
    EXPECT_FALSE(at(u"/a").isOrLiesUnder(at(u"/")));
}

TEST(FileURL, theHomeDirectoryIsShownAsATilde) {
    const QString home = QStringLiteral("/home/marie");
    EXPECT_EQ(displayPath(QStringLiteral("/home/marie/Documents"), home), QStringLiteral("~/Documents"));
    EXPECT_EQ(displayPath(QStringLiteral("/home/marie"), home), QStringLiteral("~"));
    EXPECT_EQ(displayPath(QStringLiteral("/srv/partage"), home), QStringLiteral("/srv/partage"));
    EXPECT_EQ(displayPath(QStringLiteral("/mnt/home/marie/home/marie/x"), home), QStringLiteral("/mnt~~/x"));
    EXPECT_EQ(displayPath(QStringLiteral("/srv/partage"), QStringLiteral("/")), QStringLiteral("/srv/partage"));
    EXPECT_EQ(displayPath(QStringLiteral("/srv/partage"), QString()), QStringLiteral("/srv/partage"));
}
