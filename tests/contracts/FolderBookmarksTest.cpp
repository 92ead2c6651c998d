#include "fakes/FolderBookmarksFake.h"
#include "linux/FolderBookmarksInode.h"
#include "linux/MovedFolderSearch.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

class FakeFolders {
public:
    FolderBookmarks& bookmarks() { return fake_; }
    QString make(const QString& name) { return QStringLiteral("/home/marie/") + name; }
    void move(const QString& from, const QString& to) { fake_.moved[from] = to; }
    void remove(const QString& path) {
        fake_.lost.insert(path);
        fake_.refused.insert(path);
    }

private:
    FolderBookmarksFake fake_;
};

class InodeFolders {
public:
    FolderBookmarks& bookmarks() { return bookmarks_; }
    QString make(const QString& name) {
        EXPECT_TRUE(QDir(folder_.path()).mkpath(name));
        return folder_.filePath(name);
    }
    void move(const QString& from, const QString& to) { ASSERT_TRUE(QDir().rename(from, to)); }
    void remove(const QString& path) { ASSERT_TRUE(QDir().rmdir(path)); }

private:
    QTemporaryDir folder_;
    FolderBookmarksInode bookmarks_{
        [this](const FolderIdentity& wanted) { return MovedFolderSearch(folder_.path()).find(wanted); },
        [] { return std::chrono::steady_clock::now(); },
    };
};

} // namespace

template <class F>
class FolderBookmarksContract : public testing::Test {
protected:
    FolderBookmarks& bookmarks() { return holder_.bookmarks(); }
    F holder_;
};
using FolderKinds = testing::Types<FakeFolders, InodeFolders>;
TYPED_TEST_SUITE(FolderBookmarksContract, FolderKinds);

TYPED_TEST(FolderBookmarksContract, aBookmarkGivesItsFolderBack) {
    const QString path = this->holder_.make(QStringLiteral("été"));
    EXPECT_EQ(this->bookmarks().resolve(this->bookmarks().create(path)), (ResolvedFolder{path, false}));
}

TYPED_TEST(FolderBookmarksContract, aMovedFolderIsStale) {
    const QString path = this->holder_.make(QStringLiteral("a"));
    const QByteArray bookmark = this->bookmarks().create(path);
    this->holder_.move(path, path + QStringLiteral("-renamed"));
    EXPECT_EQ(this->bookmarks().resolve(bookmark), (ResolvedFolder{path + QStringLiteral("-renamed"), true}));
}

TYPED_TEST(FolderBookmarksContract, aFolderThatIsGoneIsAnErrorWithWords) {
    const QString path = this->holder_.make(QStringLiteral("a"));
    const QByteArray bookmark = this->bookmarks().create(path);
    this->holder_.remove(path);
    try {
        this->bookmarks().resolve(bookmark);
        ADD_FAILURE() << "it was resolved";
    } catch (const LocalizedError& error) {
        EXPECT_TRUE(error.errorDescription().endsWith(u'.'));
    }
    EXPECT_THROW(this->bookmarks().create(path), LocalizedError);
    EXPECT_FALSE(this->bookmarks().startAccessing(path));
}

TYPED_TEST(FolderBookmarksContract, bytesThatAreNoBookmarkAreAnError) {
    EXPECT_THROW(this->bookmarks().resolve({}), LocalizedError);
    EXPECT_THROW(this->bookmarks().resolve("garbage"), LocalizedError);
}

TYPED_TEST(FolderBookmarksContract, accessOpensMoreThanOnce) {
    const QString path = this->holder_.make(QStringLiteral("a"));
    EXPECT_TRUE(this->bookmarks().startAccessing(path));
    EXPECT_TRUE(this->bookmarks().startAccessing(path));
    this->bookmarks().stopAccessing(path);
    this->bookmarks().stopAccessing(path);
    EXPECT_TRUE(this->bookmarks().startAccessing(path));
    this->bookmarks().stopAccessing(path);
}

} // namespace vennic::test
