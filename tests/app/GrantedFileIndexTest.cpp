#include "app/GrantedFileIndex.h"

#include "fakes/FileIndexFake.h"

#include <gtest/gtest.h>

using namespace vennic;

namespace {

struct GrantedFileIndexTest : ::testing::Test {
    test::FileIndexFake index;
    int moves = 0;
    GrantedFileIndex granted{index, [this] { ++moves; }};
    const QString here = QStringLiteral("/papiers");
    const QString there = QStringLiteral("/archives/papiers");

    void search(const QStringList& scopes) { granted.query({}, scopes, 10); }
};

} // namespace

TEST_F(GrantedFileIndexTest, setsTheFoldersOfTheIndex) {
    granted.setFolders({here});
    EXPECT_EQ(index.folders, QStringList{here});
    granted.setFolders({});
    EXPECT_EQ(index.folders, QStringList{});
}

TEST_F(GrantedFileIndexTest, aSearchInAKnownFolderTellsNothing) {
    granted.setFolders({here});
    search({here});
    EXPECT_EQ(moves, 0);
}

TEST_F(GrantedFileIndexTest, aSearchInAFolderThatMovedTellsOnce) {
    granted.setFolders({here});
    search({there});
    search({there});
    EXPECT_EQ(moves, 1);
}

TEST_F(GrantedFileIndexTest, onceSetAFolderThatMovesAgainIsToldAgain) {
    granted.setFolders({here});
    search({there});
    granted.setFolders({there});
    search({there});
    EXPECT_EQ(moves, 1);
    search({here});
    EXPECT_EQ(moves, 2);
}

TEST_F(GrantedFileIndexTest, beforeTheGrantsAreReadNothingHasMoved) {
    search({here});
    EXPECT_EQ(moves, 0);
}
