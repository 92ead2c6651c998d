#include "linux/FolderBookmarksInode.h"

#include "base/LocalizedError.h"
#include "linux/MovedFolderSearch.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <thread>

namespace vennic::test {

using namespace std::chrono_literals;

class FolderBookmarksInodeTest : public testing::Test {
protected:
    QString in(const QString& name) const { return home_.filePath(name); }
    QString make(const QString& name) const {
        EXPECT_TRUE(QDir().mkpath(in(name)));
        return in(name);
    }
    void move(const QString& from, const QString& to) const { ASSERT_TRUE(QDir().rename(in(from), in(to))); }
    QString refusal(const QByteArray& bookmark) {
        try {
            bookmarks_.resolve(bookmark);
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return {};
    }
    QString creationRefusal(const QString& path) {
        try {
            bookmarks_.create(path);
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return {};
    }
    // Descriptors of this process that are open on a path.
    static int opened(const QString& path) {
        int count = 0;
        const QDir descriptors(QStringLiteral("/proc/self/fd"));
        for (const QString& number : descriptors.entryList(QDir::AllEntries | QDir::System))
            count += QFile::symLinkTarget(descriptors.filePath(number)) == path ? 1 : 0;
        return count;
    }

    const QString lost_ = QStringLiteral("Le dossier partagé est introuvable.");
    const QString unreadable_ = QStringLiteral("Le dossier partagé est illisible.");
    QTemporaryDir home_;
    int searches_ = 0;
    MovedFolderSearch::Limits limits_;
    FolderBookmarksInode::Moment now_ = std::chrono::steady_clock::now();
    FolderBookmarksInode bookmarks_{
        [this](const FolderIdentity& wanted) {
            ++searches_;
            return MovedFolderSearch(home_.path(), limits_).find(wanted);
        },
        [this] { return now_; },
    };
};

TEST_F(FolderBookmarksInodeTest, aFolderWhereItWasIsFoundWithoutASearch) {
    const QString path = make(QStringLiteral("Été\n\"2024\""));
    const QByteArray bookmark = bookmarks_.create(path);
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{path, false}));
    QFile file(path + QStringLiteral("/new"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)); // what it holds doesn't matter
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{path, false}));
    EXPECT_EQ(searches_, 0);
}

TEST_F(FolderBookmarksInodeTest, aBookmarkServesOtherLaunches) {
    const QString path = make(QStringLiteral("a"));
    EXPECT_EQ(FolderBookmarksInode().resolve(FolderBookmarksInode().create(path + u'/')),
              (ResolvedFolder{path, false}));
}

TEST_F(FolderBookmarksInodeTest, aRenamedFolderIsFoundBesideAndStaysFoundWithoutAnotherSearch) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("x/a")));
    make(QStringLiteral("x/other"));
    move(QStringLiteral("x/a"), QStringLiteral("x/b"));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("x/b")), true}));
    EXPECT_EQ(searches_, 1);
}

TEST_F(FolderBookmarksInodeTest, aFolderMovedTwiceIsFoundTwice) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    move(QStringLiteral("a"), QStringLiteral("b"));
    EXPECT_EQ(bookmarks_.resolve(bookmark).path, in(QStringLiteral("b")));
    move(QStringLiteral("b"), QStringLiteral("c"));
    EXPECT_EQ(bookmarks_.resolve(bookmark).path, in(QStringLiteral("c")));
    move(QStringLiteral("c"), QStringLiteral("a"));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("a")), false}));
}

TEST_F(FolderBookmarksInodeTest, aFolderMovedDeeperOrHigherIsFound) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("x/y/z/a")));
    make(QStringLiteral("x/y/q/r/s"));
    move(QStringLiteral("x/y/z/a"), QStringLiteral("x/y/q/r/s/a"));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("x/y/q/r/s/a")), true}));
    move(QStringLiteral("x/y/q/r/s/a"), QStringLiteral("top"));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("top")), true}));
}

TEST_F(FolderBookmarksInodeTest, aFolderWhoseParentWasRenamedIsFound) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("x/y/a")));
    move(QStringLiteral("x"), QStringLiteral("renamed"));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("renamed/y/a")), true}));
}

TEST_F(FolderBookmarksInodeTest, aFolderThatAnotherTookThePlaceOfIsFound) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    move(QStringLiteral("a"), QStringLiteral("b"));
    make(QStringLiteral("a"));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("b")), true}));
}

TEST_F(FolderBookmarksInodeTest, aFolderMadeAnewInThePlaceOfOneThatIsGoneStandsForIt) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    make(QStringLiteral("new")); // while the first is there: it can't get its inode number
    ASSERT_TRUE(QDir().rmdir(in(QStringLiteral("a"))));
    move(QStringLiteral("new"), QStringLiteral("a"));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("a")), true}));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("a")), true}));
    EXPECT_EQ(searches_, 1);
}

TEST_F(FolderBookmarksInodeTest, aDeletedFolderIsLookedForEverMoreRarely) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    ASSERT_TRUE(QDir().rmdir(in(QStringLiteral("a"))));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(refusal(bookmark), lost_);
    EXPECT_EQ(searches_, 1);
    now_ += 31s;
    EXPECT_EQ(refusal(bookmark), lost_);
    EXPECT_EQ(searches_, 2);
    now_ += 31s;
    EXPECT_EQ(refusal(bookmark), lost_);
    EXPECT_EQ(searches_, 2);
    for (int i = 0; i < 24 * 60; ++i) {
        now_ += 1min;
        EXPECT_EQ(refusal(bookmark), lost_);
    }
    EXPECT_GT(searches_, 24 * 60 / 10 - 2);
    EXPECT_LT(searches_, 24 * 60 / 10 + 10);
}

TEST_F(FolderBookmarksInodeTest, aFolderThatComesBackIsFoundAtOnce) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    const QTemporaryDir elsewhere;
    ASSERT_TRUE(QDir().rename(in(QStringLiteral("a")), elsewhere.filePath(QStringLiteral("a"))));
    EXPECT_EQ(refusal(bookmark), lost_);
    ASSERT_TRUE(QDir().rename(elsewhere.filePath(QStringLiteral("a")), in(QStringLiteral("a"))));
    EXPECT_EQ(bookmarks_.resolve(bookmark), (ResolvedFolder{in(QStringLiteral("a")), false}));
}

TEST_F(FolderBookmarksInodeTest, oneMissingFolderDoesNotKeepAnotherFromBeingLookedFor) {
    const QByteArray gone = bookmarks_.create(make(QStringLiteral("gone")));
    const QByteArray moved = bookmarks_.create(make(QStringLiteral("moved")));
    ASSERT_TRUE(QDir().rmdir(in(QStringLiteral("gone"))));
    move(QStringLiteral("moved"), QStringLiteral("here"));
    EXPECT_EQ(refusal(gone), lost_);
    EXPECT_EQ(bookmarks_.resolve(moved), (ResolvedFolder{in(QStringLiteral("here")), true}));
}

TEST_F(FolderBookmarksInodeTest, theTrashAndOtherHiddenFoldersAreNotSearched) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    make(QStringLiteral(".local/share/Trash/files"));
    move(QStringLiteral("a"), QStringLiteral(".local/share/Trash/files/a"));
    EXPECT_EQ(refusal(bookmark), lost_);
}

TEST_F(FolderBookmarksInodeTest, theSearchStaysBelowTheHomeDirectoryAndFollowsNoLink) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    const QTemporaryDir elsewhere;
    ASSERT_TRUE(QDir().rename(in(QStringLiteral("a")), elsewhere.filePath(QStringLiteral("a"))));
    ASSERT_TRUE(QFile::link(elsewhere.path(), in(QStringLiteral("link"))));
    ASSERT_TRUE(QFile::link(home_.path(), in(QStringLiteral("circle"))));
    EXPECT_EQ(refusal(bookmark), lost_);
}

TEST_F(FolderBookmarksInodeTest, theSearchEndsWithItsEntries) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("x/a")));
    for (int i = 0; i < 100; ++i)
        make(QStringLiteral("x/%1").arg(i));
    make(QStringLiteral("x/1/2"));
    move(QStringLiteral("x/a"), QStringLiteral("x/1/2/a"));
    limits_.entries = 50;
    EXPECT_EQ(refusal(bookmark), lost_);
    limits_.entries = 500;
    now_ += 1min;
    EXPECT_EQ(bookmarks_.resolve(bookmark).path, in(QStringLiteral("x/1/2/a")));
}

TEST_F(FolderBookmarksInodeTest, theSearchEndsWithItsTime) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("x/a")));
    move(QStringLiteral("x/a"), QStringLiteral("a"));
    limits_.time = 0ms;
    EXPECT_EQ(refusal(bookmark), lost_);
}

TEST_F(FolderBookmarksInodeTest, anInodeWithAnotherTimeOfBirthIsAnotherFolder) {
    const QString path = make(QStringLiteral("a"));
    auto identity = decodedFolderIdentity(bookmarks_.create(path));
    ASSERT_TRUE(identity);
    ASSERT_TRUE(identity->hasBirth()) << "the temporary folder's file system doesn't keep times of birth";
    identity->birthNanoseconds = (identity->birthNanoseconds + 1) % 1'000'000'000;
    EXPECT_EQ(bookmarks_.resolve(encoded(*identity)), (ResolvedFolder{path, true}));
    identity->path = in(QStringLiteral("b"));
    now_ += 1min;
    EXPECT_EQ(refusal(encoded(*identity)), lost_);
}

TEST_F(FolderBookmarksInodeTest, anInodeWithAnotherHandleIsAnotherFolder) {
    const QString path = make(QStringLiteral("a"));
    auto identity = decodedFolderIdentity(bookmarks_.create(path));
    ASSERT_TRUE(identity);
    if (identity->handle.isEmpty())
        GTEST_SKIP() << "the temporary folder's file system gives no lasting handles";
    EXPECT_EQ(bookmarks_.resolve(encoded(*identity)), (ResolvedFolder{path, false}));
    identity->handle.back() = static_cast<char>(identity->handle.back() ^ 1);
    EXPECT_EQ(bookmarks_.resolve(encoded(*identity)), (ResolvedFolder{path, true}));
    identity->path = in(QStringLiteral("b"));
    now_ += 1min;
    EXPECT_EQ(refusal(encoded(*identity)), lost_);
}

TEST_F(FolderBookmarksInodeTest, aFolderMadeWithinTheSameTickOfTheClockAsADeletionIsAnother) {
    const QByteArray path = in(QStringLiteral("a")).toUtf8();
    for (int i = 0; i < 2000; ++i) {
        make(QStringLiteral("a"));
        const auto before = decodedFolderIdentity(bookmarks_.create(in(QStringLiteral("a"))));
        ASSERT_TRUE(before);
        ASSERT_TRUE(QDir().rmdir(in(QStringLiteral("a"))));
        make(QStringLiteral("a"));
        const auto after = folderIdentity(-1, path, true);
        ASSERT_TRUE(after);
        if (after->isSameFolder(*before)) { // inode and time of birth: the handle isn't known yet
            EXPECT_FALSE(before->handle.isEmpty());
            EXPECT_FALSE(folderIfSame(*before, -1, path, true));
            return;
        }
        ASSERT_TRUE(QDir().rmdir(in(QStringLiteral("a"))));
    }
    GTEST_SKIP() << "the temporary folder's file system gave no inode again within one tick";
}

TEST_F(FolderBookmarksInodeTest, aBookmarkFromBeforeHandlesWereKeptServesOn) {
    const QString path = make(QStringLiteral("a"));
    auto identity = decodedFolderIdentity(bookmarks_.create(path));
    ASSERT_TRUE(identity);
    identity->handle.clear();
    const QByteArray old = encoded(*identity);
    EXPECT_FALSE(old.contains("handle"));
    EXPECT_EQ(bookmarks_.resolve(old), (ResolvedFolder{path, false}));
    move(QStringLiteral("a"), QStringLiteral("b"));
    EXPECT_EQ(bookmarks_.resolve(old), (ResolvedFolder{in(QStringLiteral("b")), true}));
}

TEST_F(FolderBookmarksInodeTest, withoutATimeOfBirthOnlyTheSamePathCounts) {
    auto identity = decodedFolderIdentity(bookmarks_.create(make(QStringLiteral("a"))));
    ASSERT_TRUE(identity);
    identity->birthSeconds = 0;
    identity->birthNanoseconds = 0;
    EXPECT_EQ(bookmarks_.resolve(encoded(*identity)), (ResolvedFolder{in(QStringLiteral("a")), false}));
    move(QStringLiteral("a"), QStringLiteral("b"));
    EXPECT_EQ(refusal(encoded(*identity)), lost_);
}

TEST_F(FolderBookmarksInodeTest, anotherFileSystemIsNotSearched) {
    auto identity = decodedFolderIdentity(bookmarks_.create(make(QStringLiteral("a"))));
    ASSERT_TRUE(identity);
    move(QStringLiteral("a"), QStringLiteral("b"));
    auto afterRestart = *identity;
    afterRestart.device += 1; // device numbers change, the file system's identity stays
    EXPECT_EQ(bookmarks_.resolve(encoded(afterRestart)), (ResolvedFolder{in(QStringLiteral("b")), true}));
    afterRestart.fileSystem += 1;
    EXPECT_EQ(refusal(encoded(afterRestart)), lost_);
}

TEST_F(FolderBookmarksInodeTest, aFileInTheFoldersPlaceIsNotTheFolder) {
    const QByteArray bookmark = bookmarks_.create(make(QStringLiteral("a")));
    ASSERT_TRUE(QDir().rmdir(in(QStringLiteral("a"))));
    ASSERT_TRUE(QFile(in(QStringLiteral("a"))).open(QIODevice::WriteOnly));
    EXPECT_EQ(refusal(bookmark), lost_);
}

TEST_F(FolderBookmarksInodeTest, onlyFoldersAreBookmarked) {
    ASSERT_TRUE(QFile(in(QStringLiteral("file"))).open(QIODevice::WriteOnly));
    ASSERT_TRUE(QFile::link(in(QStringLiteral("circle")), in(QStringLiteral("circle"))));
    const auto sentence = [](const char* why) {
        return QStringLiteral("Impossible de mémoriser le dossier : ") + QString::fromUtf8(why);
    };
    EXPECT_EQ(creationRefusal(in(QStringLiteral("missing"))), sentence("ce dossier n'existe pas."));
    EXPECT_EQ(creationRefusal(in(QStringLiteral("file"))), sentence("ce n'est pas un dossier."));
    EXPECT_EQ(creationRefusal(in(QStringLiteral("circle"))), sentence("ses liens symboliques ne mènent nulle part."));
    EXPECT_EQ(creationRefusal(in(QString(300, u'a'))), sentence("son chemin est trop long."));
    for (const QString& path : {QString(), QStringLiteral("relative"), home_.path() + QChar::Null})
        EXPECT_EQ(creationRefusal(path), sentence("son chemin n'est pas valable."));
}

TEST_F(FolderBookmarksInodeTest, bytesOfAnIdentityGiveItBack) {
    const FolderIdentity identity{.path = QStringLiteral("/a\n\"é🎉"),
                                  .fileSystem = ~0ULL,
                                  .device = 1ULL << 63U,
                                  .inode = (1ULL << 63U) + 1,
                                  .birthSeconds = -1,
                                  .birthNanoseconds = 999'999'999,
                                  .handle = QByteArray(132, '\xff')};
    EXPECT_EQ(decodedFolderIdentity(encoded(identity)), identity);
}

TEST_F(FolderBookmarksInodeTest, hostileBytesAreRefused) {
    const QByteArray good = bookmarks_.create(make(QStringLiteral("a")));
    const auto with = [&](const char* from, const QByteArray& to) {
        QByteArray bytes = good;
        EXPECT_TRUE(bytes.contains(from)) << from;
        return bytes.replace(from, to);
    };
    const QByteArray path = in(QStringLiteral("a")).toUtf8();
    const QList<QByteArray> hostile{
        {},
        "garbage",
        "{}",
        "[]",
        "null",
        QByteArray(100, '\0'),
        QByteArray(1 << 20, '['),
        good.left(good.size() - 1),
        good + QByteArray(100'000, ' '),
        with("\"version\":1", "\"version\":2"),
        with("\"version\":1", "\"version\":1.5"),
        with(path.constData(), "relative/path"),
        with(path.constData(), ""),
        with(path.constData(), path + "\\u0000"),
        with(path.constData(), path + "\\ud800"),
        with("\"inode\":\"", "\"inode\":\"x"),
        with("\"inode\":\"", "\"inode\":\"fffffffffffffffff"),
        with("\"birthNanoseconds\":", "\"birthNanoseconds\":-"),
        with("\"birthNanoseconds\":", "\"birthNanoseconds\":9999999999"),
        with("\"device\"", "\"other\""),
        with("\"version\"", "\"handle\":7,\"version\""),
        with("\"version\"", "\"handle\":\"0\",\"version\""),
        with("\"version\"", "\"handle\":\"zz\",\"version\""),
        with("\"version\"", "\"handle\":\"" + QByteArray(133, 'a').toHex() + "\",\"version\""),
    };
    for (const QByteArray& bytes : hostile)
        EXPECT_EQ(refusal(bytes), unreadable_) << bytes.left(200).toStdString();
    EXPECT_EQ(searches_, 0);
}

TEST_F(FolderBookmarksInodeTest, randomBytesAndRandomChangesBreakNothing) {
    const QByteArray good = bookmarks_.create(make(QStringLiteral("a")));
    std::mt19937 random(5);
    limits_.entries = 10;
    for (int i = 0; i < 10'000; ++i) {
        QByteArray bytes;
        for (auto length = random() % 200; length > 0; --length)
            bytes += static_cast<char>(random());
        EXPECT_EQ(refusal(bytes), unreadable_);
        QByteArray changed = good;
        changed[static_cast<qsizetype>(random() % static_cast<unsigned>(changed.size()))] = static_cast<char>(random());
        const QString words = refusal(changed);
        EXPECT_TRUE(words.isEmpty() || words == unreadable_ || words == lost_) << words.toStdString();
    }
}

TEST_F(FolderBookmarksInodeTest, accessIsCountedByPath) {
    const QString path = make(QStringLiteral("a"));
    EXPECT_TRUE(bookmarks_.startAccessing(path));
    EXPECT_TRUE(bookmarks_.startAccessing(path));
    EXPECT_EQ(opened(path), 1);
    bookmarks_.stopAccessing(path);
    EXPECT_EQ(opened(path), 1);
    bookmarks_.stopAccessing(path);
    EXPECT_EQ(opened(path), 0);
    bookmarks_.stopAccessing(path); // nothing is open
    EXPECT_TRUE(bookmarks_.startAccessing(path));
    EXPECT_EQ(opened(path), 1);
}

TEST_F(FolderBookmarksInodeTest, accessToWhatIsNoFolderDoesNotOpen) {
    ASSERT_TRUE(QFile(in(QStringLiteral("file"))).open(QIODevice::WriteOnly));
    ASSERT_EQ(mkfifo(in(QStringLiteral("pipe")).toUtf8().constData(), 0600), 0);
    for (const QString& path :
         {QString(), QStringLiteral("relative"), in(QStringLiteral("file")), in(QStringLiteral("pipe")),
          in(QStringLiteral("missing")), home_.path() + QChar::Null, QStringLiteral("/proc/self/cwd")})
        EXPECT_FALSE(bookmarks_.startAccessing(path)) << path.toStdString();
}

TEST_F(FolderBookmarksInodeTest, manyThreadsResolveAndOpenAtOnce) {
    const QString path = make(QStringLiteral("a"));
    const QByteArray here = bookmarks_.create(path);
    const QByteArray moved = bookmarks_.create(make(QStringLiteral("b")));
    move(QStringLiteral("b"), QStringLiteral("c"));
    FolderBookmarksInode shared(
        [this](const FolderIdentity& wanted) { return MovedFolderSearch(home_.path()).find(wanted); },
        [] { return std::chrono::steady_clock::now(); });
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                wrong += shared.resolve(here) == ResolvedFolder{path, false} ? 0 : 1;
                wrong += shared.resolve(moved) == ResolvedFolder{in(QStringLiteral("c")), true} ? 0 : 1;
                wrong += shared.startAccessing(path) ? 0 : 1;
                shared.stopAccessing(path);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(opened(path), 0);
}

} // namespace vennic::test
