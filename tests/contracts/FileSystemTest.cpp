#include "fakes/FileSystemFake.h"
#include "linux/FileSystemPosix.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

class FakeFiles {
public:
    FileSystem& files() { return fake_; }
    QString root() const { return QStringLiteral("/home/marie/shared"); }
    void addFolder(const QString& name) { fake_.addFolder(root() + u'/' + name); }
    void addFile(const QString& name, qint64 size) { fake_.addFile(root() + u'/' + name, size); }
    FakeFiles() { fake_.addFolder(root()); }

private:
    FileSystemFake fake_;
};

class PosixFiles {
public:
    FileSystem& files() { return files_; }
    QString root() const { return folder_.path(); }
    void addFolder(const QString& name) { ASSERT_TRUE(QDir(root()).mkpath(name)); }
    void addFile(const QString& name, qint64 size) {
        QFile file(folder_.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'x'));
    }

private:
    QTemporaryDir folder_;
    FileSystemPosix files_;
};

} // namespace

template <class F>
class FileSystemContract : public testing::Test {
protected:
    QStringList walked() {
        const auto walk = holder_.files().walk(holder_.root());
        QStringList paths;
        for (auto path = walk->next(); path; path = walk->next())
            paths << path->sliced(holder_.root().size() + 1);
        return paths;
    }
    /// The names of a folder below the root, or of the root.
    QStringList listed(const QString& below = {}) {
        const auto listing = holder_.files().list(holder_.root() + below);
        QStringList names;
        while (const auto entry = listing->next())
            names << entry->name;
        names.sort();
        return names;
    }
    F holder_;
};
using FileSystems = testing::Types<FakeFiles, PosixFiles>;
TYPED_TEST_SUITE(FileSystemContract, FileSystems);

TYPED_TEST(FileSystemContract, valuesTellFoldersFromFiles) {
    this->holder_.addFolder(QStringLiteral("folder"));
    this->holder_.addFile(QStringLiteral("file.txt"), 12);
    const auto folder = this->holder_.files().values(this->holder_.root() + QStringLiteral("/folder"));
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->isDirectory);
    EXPECT_EQ(folder->size, std::nullopt);
    const auto file = this->holder_.files().values(this->holder_.root() + QStringLiteral("/file.txt"));
    ASSERT_TRUE(file);
    EXPECT_FALSE(file->isDirectory);
    EXPECT_EQ(file->size, 12);
    EXPECT_EQ(file->volumeIsLocal, true);
}

TYPED_TEST(FileSystemContract, whereNothingIsThereAreNoValues) {
    EXPECT_EQ(this->holder_.files().values(this->holder_.root() + QStringLiteral("/missing")), std::nullopt);
}

TYPED_TEST(FileSystemContract, aWalkGivesEveryEntryOnceAndFoldersFirst) {
    this->holder_.addFolder(QStringLiteral("a"));
    this->holder_.addFolder(QStringLiteral("a/b"));
    this->holder_.addFile(QStringLiteral("a/b/c.txt"), 1);
    this->holder_.addFile(QStringLiteral("été.pdf"), 1);
    QStringList paths = this->walked();
    EXPECT_LT(paths.indexOf(QStringLiteral("a")), paths.indexOf(QStringLiteral("a/b")));
    EXPECT_LT(paths.indexOf(QStringLiteral("a/b")), paths.indexOf(QStringLiteral("a/b/c.txt")));
    paths.sort();
    EXPECT_EQ(paths, (QStringList{QStringLiteral("a"), QStringLiteral("a/b"), QStringLiteral("a/b/c.txt"),
                                  QStringLiteral("été.pdf")}));
}

TYPED_TEST(FileSystemContract, aWalkPassesOverWhatIsHiddenAndWhatLiesUnderIt) {
    this->holder_.addFolder(QStringLiteral(".git"));
    this->holder_.addFile(QStringLiteral(".git/config"), 1);
    this->holder_.addFile(QStringLiteral(".profile"), 1);
    this->holder_.addFile(QStringLiteral("seen"), 1);
    EXPECT_EQ(this->walked(), QStringList{QStringLiteral("seen")});
}

TYPED_TEST(FileSystemContract, aWalkOfAnEmptyFolderEndsAndStaysAtItsEnd) {
    const auto walk = this->holder_.files().walk(this->holder_.root());
    ASSERT_TRUE(walk);
    EXPECT_EQ(walk->next(), std::nullopt);
    EXPECT_EQ(walk->next(), std::nullopt);
}

TYPED_TEST(FileSystemContract, aListingGivesOneLevelWithItsValues) {
    this->holder_.addFolder(QStringLiteral("a"));
    this->holder_.addFolder(QStringLiteral("a/b"));
    this->holder_.addFile(QStringLiteral("a/b/c.txt"), 1);
    this->holder_.addFile(QStringLiteral("été.pdf"), 12);
    EXPECT_EQ(this->listed(), (QStringList{QStringLiteral("a"), QStringLiteral("été.pdf")}));
    EXPECT_EQ(this->listed(QStringLiteral("/a")), QStringList{QStringLiteral("b")});
    EXPECT_EQ(this->listed(QStringLiteral("/a/")), QStringList{QStringLiteral("b")});
    const auto listing = this->holder_.files().list(this->holder_.root());
    while (const auto entry = listing->next()) {
        auto values = this->holder_.files().values(this->holder_.root() + u'/' + entry->name);
        ASSERT_TRUE(values);
        values->volumeIsLocal.reset();
        EXPECT_EQ(entry->values, values) << entry->name.toStdString();
    }
}

TYPED_TEST(FileSystemContract, aListingLeavesOutWhatIsHidden) {
    this->holder_.addFolder(QStringLiteral(".git"));
    this->holder_.addFile(QStringLiteral(".profile"), 1);
    this->holder_.addFile(QStringLiteral("..x"), 1);
    this->holder_.addFile(QStringLiteral("seen"), 1);
    EXPECT_EQ(this->listed(), QStringList{QStringLiteral("seen")});
}

TYPED_TEST(FileSystemContract, aListingShowsAPackageAsOneEntryAndLooksIntoItWhenAsked) {
    this->holder_.addFolder(QStringLiteral("Éditeur.app"));
    this->holder_.addFolder(QStringLiteral("Éditeur.app/Contents"));
    EXPECT_EQ(this->listed(), QStringList{QStringLiteral("Éditeur.app")});
    EXPECT_EQ(this->listed(QStringLiteral("/Éditeur.app")), QStringList{QStringLiteral("Contents")});
}

TYPED_TEST(FileSystemContract, aListingOfAnEmptyFolderEndsAndStaysAtItsEnd) {
    const auto listing = this->holder_.files().list(this->holder_.root());
    EXPECT_EQ(listing->next(), std::nullopt);
    EXPECT_EQ(listing->next(), std::nullopt);
}

TYPED_TEST(FileSystemContract, whatIsNoFolderCannotBeListed) {
    this->holder_.addFile(QStringLiteral("file"), 1);
    for (const char* below : {"/file", "/missing", "/missing/deeper"})
        EXPECT_THROW(this->listed(QString::fromUtf8(below)), LocalizedError) << below;
}

TYPED_TEST(FileSystemContract, theHomeDirectoryIsAbsoluteWithoutASlashAtItsEnd) {
    const QString home = this->holder_.files().homeDirectory();
    EXPECT_TRUE(home.startsWith(u'/'));
    EXPECT_TRUE(home.size() == 1 || !home.endsWith(u'/'));
}

} // namespace vennic::test
