#include "linux/FolderWalkPosix.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vennic::test {

namespace {

QStringList all(const QString& root) {
    const auto walk = FolderWalkPosix::open(root);
    QStringList paths;
    while (walk)
        if (auto path = walk->next())
            paths << *std::move(path);
        else
            break;
    return paths;
}

int openDescriptors() {
    return static_cast<int>(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size());
}

} // namespace

class FolderWalkPosixTest : public testing::Test {
protected:
    // QTemporaryDir can't remove names that aren't text.
    ~FolderWalkPosixTest() override { std::filesystem::remove_all(folder_.path().toStdString()); }
    QString in(const QString& name) const { return folder_.filePath(name); }
    void makeFolder(const QString& name) const { ASSERT_TRUE(QDir().mkpath(in(name))); }
    void makeFile(const QString& name) const {
        QFile file(in(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QStringList found(const QString& root) const {
        QStringList names;
        for (const QString& path : all(root))
            names << path.sliced(root.size() + 1);
        names.sort();
        return names;
    }
    void move(const QString& from, const QString& to) const { ASSERT_TRUE(QDir().rename(in(from), in(to))); }
    // Folders in folders, named "d".
    void makeDeep(int levels) const {
        int parent = open(folder_.path().toUtf8().constData(), O_DIRECTORY | O_CLOEXEC);
        for (int level = 0; level < levels; ++level) {
            ASSERT_EQ(mkdirat(parent, "d", 0700), 0);
            const int child = openat(parent, "d", O_DIRECTORY | O_CLOEXEC);
            close(openat(parent, "z", O_CREAT | O_CLOEXEC | O_WRONLY, 0600));
            close(parent);
            parent = child;
        }
        close(parent);
    }
    QTemporaryDir folder_;
};

TEST_F(FolderWalkPosixTest, tenThousandEntriesAreTheSameAsTheStandardLibrarys) {
    std::mt19937 random(7);
    std::vector<QString> folders{QString()};
    for (int i = 0; i < 10'000; ++i) {
        const QString& parent = folders[random() % folders.size()];
        const QString name = parent + QStringLiteral("entrée %1").arg(i);
        if (random() % 10 == 0) {
            makeFolder(name);
            folders.push_back(name + u'/');
        } else {
            makeFile(name);
        }
    }
    std::set<QString> expected;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.path().toStdString()))
        expected.insert(QString::fromStdString(entry.path()));
    const QStringList paths = all(folder_.path());
    EXPECT_EQ(paths.size(), 10'000);
    EXPECT_EQ(std::set<QString>(paths.begin(), paths.end()), expected);
}

TEST_F(FolderWalkPosixTest, aFolderStandsBeforeWhatItHoldsAndItsEntriesTogether) {
    for (int i = 0; i < 20; ++i) {
        makeFolder(QStringLiteral("%1/%1").arg(i));
        makeFile(QStringLiteral("%1/%1/file").arg(i));
    }
    QStringList open;
    for (const QString& path : all(folder_.path())) {
        const QString parent = path.left(path.lastIndexOf(u'/'));
        while (!open.isEmpty() && open.back() != parent)
            open.removeLast();
        ASSERT_TRUE(parent == folder_.path() || !open.isEmpty()) << path.toStdString();
        open << path;
    }
}

TEST_F(FolderWalkPosixTest, aFolderLargerThanTheBufferIsReadToItsEnd) {
    for (int i = 0; i < 3000; ++i)
        makeFile(QStringLiteral("%1 with a name that takes some room in the buffer").arg(i));
    EXPECT_EQ(all(folder_.path()).size(), 3000);
}

TEST_F(FolderWalkPosixTest, hiddenEntriesAndWhatLiesUnderThemArePassedOver) {
    makeFolder(QStringLiteral(".hidden/inside"));
    makeFolder(QStringLiteral("seen/.git"));
    makeFile(QStringLiteral("seen/.git/config"));
    makeFile(QStringLiteral("seen/..odd"));
    makeFile(QStringLiteral(".file"));
    EXPECT_EQ(found(folder_.path()), QStringList{QStringLiteral("seen")});
}

TEST_F(FolderWalkPosixTest, aHiddenRootIsWalked) {
    makeFolder(QStringLiteral(".hidden"));
    makeFile(QStringLiteral(".hidden/a"));
    EXPECT_EQ(found(in(QStringLiteral(".hidden"))), QStringList{QStringLiteral("a")});
}

TEST_F(FolderWalkPosixTest, linksAreEntriesAndNotFollowed) {
    makeFolder(QStringLiteral("folder"));
    makeFile(QStringLiteral("folder/file"));
    QFile::link(in(QStringLiteral("folder")), in(QStringLiteral("link")));
    QFile::link(folder_.path(), in(QStringLiteral("folder/up")));
    QFile::link(in(QStringLiteral("self")), in(QStringLiteral("self")));
    EXPECT_EQ(found(folder_.path()),
              (QStringList{QStringLiteral("folder"), QStringLiteral("folder/file"), QStringLiteral("folder/up"),
                           QStringLiteral("link"), QStringLiteral("self")}));
}

TEST_F(FolderWalkPosixTest, aRootThatIsALinkIsFollowed) {
    makeFolder(QStringLiteral("folder"));
    makeFile(QStringLiteral("folder/file"));
    QFile::link(in(QStringLiteral("folder")), in(QStringLiteral("link")));
    EXPECT_EQ(all(in(QStringLiteral("link"))), QStringList{in(QStringLiteral("link/file"))});
}

TEST_F(FolderWalkPosixTest, pipesAndSocketsAreEntriesThatNobodyOpens) {
    ASSERT_EQ(mkfifo(in(QStringLiteral("pipe")).toUtf8().constData(), 0600), 0);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    const QByteArray path = in(QStringLiteral("socket")).toUtf8();
    ASSERT_LT(static_cast<std::size_t>(path.size()), sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(found(folder_.path()), (QStringList{QStringLiteral("pipe"), QStringLiteral("socket")}));
    close(socket);
}

TEST_F(FolderWalkPosixTest, namesOfAnyKindAreGivenButThoseThatAreNotText) {
    const QString odd = QStringLiteral("a\nb\t\x01 \"'\\*");
    const QString long255 = QString(255, u'l');
    makeFile(odd);
    makeFile(long255);
    const int root = open(folder_.path().toUtf8().constData(), O_DIRECTORY | O_CLOEXEC);
    for (const char* name : {"bad\xff", "\xed\xa0\x80", "\xc3"})
        close(openat(root, name, O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    ASSERT_EQ(mkdirat(root, "folder\xfe", 0700), 0);
    close(openat(root, "folder\xfe/inside", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    close(root);
    EXPECT_EQ(found(folder_.path()), (QStringList{odd, long255}));
}

TEST_F(FolderWalkPosixTest, aDeepTreeIsWalkedToTheLastLevelThatCounts) {
    makeDeep(300);
    const QStringList paths = all(folder_.path());
    EXPECT_EQ(paths.size(), 2 * static_cast<qsizetype>(FolderWalkPosix::mostLevels));
    const QString deepest = folder_.path() + QStringLiteral("/d").repeated(FolderWalkPosix::mostLevels);
    EXPECT_TRUE(paths.contains(deepest));
    EXPECT_EQ(std::ranges::max(paths, {}, &QString::size).size(), deepest.size());
}

TEST_F(FolderWalkPosixTest, aDeepTreeHoldsFewDescriptors) {
    makeDeep(200);
    const auto walk = FolderWalkPosix::open(folder_.path());
    const int before = openDescriptors();
    int most = 0;
    while (walk->next())
        most = std::max(most, openDescriptors() - before);
    EXPECT_LE(most, static_cast<int>(FolderWalkPosix::mostOpenLevels));
    EXPECT_EQ(openDescriptors(), before - 1); // the root's was among them
}

TEST_F(FolderWalkPosixTest, aTreeMovedOutWhileItIsWalkedDoesNotTakeTheWalkWithIt) {
    const QString padding(240, u'p');
    makeDeep(150);
    makeFolder(QStringLiteral("outside"));
    for (int i = 0; i < 600; ++i) { // more than a buffer holds, so that something is left to read in either folder
        makeFile(QStringLiteral("d/%1%2").arg(i).arg(padding));
        makeFile(QStringLiteral("outside/secret%1%2").arg(i).arg(padding));
    }
    // The deep folder takes the name of a file that the disk gives early: the root's first buffer isn't its last.
    const auto order = FolderWalkPosix::open(in(QStringLiteral("d")));
    QString early = order->next().value_or(QString());
    while (!early.endsWith(padding))
        early = order->next().value_or(padding);
    early.remove(0, folder_.path().size() + 1);
    ASSERT_TRUE(QFile::remove(in(early)));
    move(QStringLiteral("d/d"), early);
    const auto walk = FolderWalkPosix::open(in(QStringLiteral("d")));
    const QString deep = QStringLiteral("/d").repeated(140);
    std::optional<QString> path = walk->next();
    while (path && !path->endsWith(deep))
        path = walk->next();
    ASSERT_TRUE(path);
    // The descriptors of the upper levels are closed by now; ".." of the moved folder leads elsewhere.
    move(early, QStringLiteral("outside/d"));
    QStringList rest;
    for (path = walk->next(); path && rest.size() < 2000; path = walk->next())
        rest << *path;
    EXPECT_LT(rest.size(), 2000);
    EXPECT_TRUE(rest.filter(QStringLiteral("secret")).isEmpty());
    rest.removeDuplicates();
    EXPECT_FALSE(rest.filter(padding).isEmpty()); // the root is where it was and is read to its end
}

TEST_F(FolderWalkPosixTest, aPathThatTheKernelTakesFromNobodyIsPassedOver) {
    int parent = open(folder_.path().toUtf8().constData(), O_DIRECTORY | O_CLOEXEC);
    const QByteArray name(250, 'n');
    for (int level = 0; level < 20; ++level) {
        ASSERT_EQ(mkdirat(parent, name.constData(), 0700), 0);
        const int child = openat(parent, name.constData(), O_DIRECTORY | O_CLOEXEC);
        close(parent);
        parent = child;
    }
    close(parent);
    const QStringList paths = all(folder_.path());
    EXPECT_EQ(paths.size(), (4095 - folder_.path().size()) / 251);
    for (const QString& path : paths)
        EXPECT_TRUE(QFile::exists(path));
}

TEST_F(FolderWalkPosixTest, aFolderRemovedBeforeItIsReadIsEmpty) {
    makeFolder(QStringLiteral("folder"));
    makeFile(QStringLiteral("folder/file"));
    const auto walk = FolderWalkPosix::open(in(QStringLiteral("folder")));
    std::filesystem::remove_all(in(QStringLiteral("folder")).toStdString());
    EXPECT_EQ(walk->next(), std::nullopt);
    EXPECT_EQ(walk->next(), std::nullopt);
}

TEST_F(FolderWalkPosixTest, aFolderReplacedByALinkBeforeItIsOpenedIsNotFollowed) {
    makeFolder(QStringLiteral("outside"));
    makeFile(QStringLiteral("outside/secret"));
    makeFolder(QStringLiteral("root/a"));
    makeFolder(QStringLiteral("root/b"));
    const auto walk = FolderWalkPosix::open(in(QStringLiteral("root")));
    const auto first = walk->next();
    ASSERT_TRUE(first);
    // The buffer says that the second is a folder; by the time it is entered it is a link.
    const QString second = in(first->endsWith(u'a') ? QStringLiteral("root/b") : QStringLiteral("root/a"));
    ASSERT_TRUE(QDir().rmdir(second));
    ASSERT_TRUE(QFile::link(in(QStringLiteral("outside")), second));
    EXPECT_EQ(walk->next(), second);
    EXPECT_EQ(walk->next(), std::nullopt);
}

TEST_F(FolderWalkPosixTest, whatCannotBeWalkedGivesNoWalk) {
    makeFile(QStringLiteral("file"));
    ASSERT_EQ(mkfifo(in(QStringLiteral("pipe")).toUtf8().constData(), 0600), 0);
    EXPECT_EQ(FolderWalkPosix::open({}), nullptr);
    EXPECT_EQ(FolderWalkPosix::open(QStringLiteral("relative")), nullptr);
    EXPECT_EQ(FolderWalkPosix::open(in(QStringLiteral("missing"))), nullptr);
    EXPECT_EQ(FolderWalkPosix::open(in(QStringLiteral("file"))), nullptr);
    EXPECT_EQ(FolderWalkPosix::open(in(QStringLiteral("pipe"))), nullptr);
    EXPECT_EQ(FolderWalkPosix::open(folder_.path() + QChar::Null), nullptr);
}

TEST_F(FolderWalkPosixTest, aSlashAtTheRootsEndChangesNothing) {
    makeFile(QStringLiteral("file"));
    EXPECT_EQ(all(folder_.path() + QStringLiteral("//")), QStringList{in(QStringLiteral("file"))});
}

TEST_F(FolderWalkPosixTest, theRootOfAllPathsHasNoDoubleSlash) {
    const auto walk = FolderWalkPosix::open(QStringLiteral("/"));
    ASSERT_TRUE(walk);
    const auto first = walk->next();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->lastIndexOf(u'/'), 0);
}

} // namespace vennic::test
