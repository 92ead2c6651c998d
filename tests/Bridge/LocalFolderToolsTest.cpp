#include "Bridge/LocalFolderTools.h"

#include "Bridge/LocalToolWorld.h"

#include <QThread>

namespace vennic::test {
namespace {

struct LocalFolderToolsTest : testing::Test {
    LocalToolWorld world;

    QString list() { return world.run("list_local_folders"); }
    QString browse(const BookmarkEntry& grant, const char* subPath = nullptr) {
        QJsonObject arguments{{QStringLiteral("folder_id"), uuidString(grant.id)}};
        if (subPath)
            arguments.insert(QStringLiteral("sub_path"), QString::fromUtf8(subPath));
        return world.run("browse_local_folder", arguments);
    }
};

TEST_F(LocalFolderToolsTest, withoutAFolderTheModelIsToldToHaveOneShared) {
    EXPECT_EQ(list(), QStringLiteral("The Mac bridge has no folders granted yet. Ask the user to add one from the Mac "
                                     "app Settings → Bridge."));
}

TEST_F(LocalFolderToolsTest, foldersComeInStoredOrderAndALostOneLeavesAGapInTheNumbers) {
    const auto first = world.share(QStringLiteral("/home/marie/Reçus"));
    world.share(QStringLiteral("/lost"));
    const auto third = world.share(QStringLiteral("/mnt/Archives"));
    world.bookmarks->lost.insert(QStringLiteral("/lost"));
    world.bookmarks->moved[QStringLiteral("/mnt/Archives")] = QStringLiteral("/mnt/Vieux");
    EXPECT_EQ(list(), QStringLiteral("1. Reçus (~/Reçus, id: %1)\n3. Archives (/mnt/Vieux, id: %2)")
                          .arg(uuidString(first.id), uuidString(third.id)));
}

TEST_F(LocalFolderToolsTest, whenEveryFolderIsLostTheListIsEmpty) {
    world.share(QStringLiteral("/lost"));
    world.bookmarks->lost.insert(QStringLiteral("/lost"));
    EXPECT_EQ(list(), QString());
}

TEST_F(LocalFolderToolsTest, entriesComeByNameEachUnderANewHandle) {
    const auto grant = world.share(QStringLiteral("/d"));
    world.files->addFolder(QStringLiteral("/d/Été"));
    world.files->addFile(QStringLiteral("/d/b.pdf"), 12'595);
    world.files->addFile(QStringLiteral("/d/A.txt"), std::nullopt);
    world.files->addFile(QStringLiteral("/d/.caché"), 1);
    world.files->addFile(QStringLiteral("/d/Été/dedans.txt"), 1);
    const QString text = browse(grant);
    EXPECT_EQ(LocalToolWorld::withoutHandles(text), QStringLiteral("1. 📄 A.txt (0.0 KB) (id: ID)\n"
                                                                   "2. 📄 b.pdf (12.3 KB) (id: ID)\n"
                                                                   "3. 📁 Été (id: ID)"));
    EXPECT_EQ(world.pathsIn(text),
              (QStringList{QStringLiteral("/d/A.txt"), QStringLiteral("/d/b.pdf"), QStringLiteral("/d/Été")}));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->started, 1);
}

TEST_F(LocalFolderToolsTest, aSubfolderIsBrowsedByItsPath) {
    const auto grant = world.share(QStringLiteral("/d"));
    world.files->addFolder(QStringLiteral("/d/a"));
    world.files->addFolder(QStringLiteral("/d/a/b"));
    world.files->addFile(QStringLiteral("/d/a/b/c.txt"), 1024);
    EXPECT_EQ(world.pathsIn(browse(grant, "a//b")), QStringList{QStringLiteral("/d/a/b/c.txt")});
    EXPECT_EQ(world.pathsIn(browse(grant, "a/b/")), QStringList{QStringLiteral("/d/a/b/c.txt")});
    EXPECT_EQ(world.pathsIn(browse(grant, "a")), QStringList{QStringLiteral("/d/a/b")});
}

TEST_F(LocalFolderToolsTest, anEmptyFolderIsToldSo) {
    EXPECT_EQ(browse(world.share(QStringLiteral("/d"))), QStringLiteral("Empty folder."));
}

TEST_F(LocalFolderToolsTest, eachRefusalHasItsWords) {
    const auto grant = world.share(QStringLiteral("/d"));
    world.files->addFolder(QStringLiteral("/d/a"));
    world.files->addFolder(QStringLiteral("/d/b"));
    for (const char* arguments : {"", "{}", R"({"folder_id":5})", R"({"folder_id":"x"})", R"({"folder_id":""})"})
        EXPECT_EQ(world.runRaw("browse_local_folder", QString::fromUtf8(arguments)),
                  QStringLiteral("folder_id mal formé."))
            << arguments;
    for (const char* path : {"..", "a/../b", "../d", "/", "/d", "/d/a", "a/.."})
        EXPECT_EQ(browse(grant, path), QStringLiteral("sub_path invalide.")) << path;
    EXPECT_EQ(browse(grant, "absent"), QStringLiteral("Lecture du dossier impossible: Ce dossier n'existe pas."));
    world.bookmarks->lost.insert(QStringLiteral("/d"));
    EXPECT_EQ(browse(grant), QStringLiteral("Impossible de résoudre le bookmark (dossier déplacé ?)."));
    world.grants.remove(grant.id);
    EXPECT_EQ(browse(grant), QStringLiteral("Ce dossier n'est plus partagé sur le Mac."));
    EXPECT_EQ(world.handles().size(), 0);
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(LocalFolderToolsTest, aFolderOfAnySizeIsListedWholeAndItsLastHandlesAreKept) {
    const auto grant = world.share(QStringLiteral("/d"));
    for (int i = 0; i < 1500; ++i)
        world.files->addFile(QStringLiteral("/d/%1").arg(i, 4, 10, QLatin1Char('0')), 1);
    const QString text = browse(grant);
    EXPECT_EQ(text.count(u'\n'), 1499);
    EXPECT_TRUE(text.startsWith(QStringLiteral("1. 📄 0000 (0.0 KB) (id: ")));
    const QStringList paths = world.pathsIn(text);
    EXPECT_EQ(paths.count(QStringLiteral("?")), 500);
    EXPECT_EQ(paths[499], QStringLiteral("?"));
    EXPECT_EQ(paths[500], QStringLiteral("/d/0500"));
    EXPECT_EQ(world.handles().size(), 1000);
}

TEST_F(LocalFolderToolsTest, theDiskIsReadOffTheMainThreadAndNoLongerThanSomebodyWaits) {
    const auto grant = world.share(QStringLiteral("/d"));
    for (int i = 0; i < 100; ++i)
        world.files->addFile(QStringLiteral("/d/%1").arg(i), 1);
    std::atomic<int> read = 0;
    std::atomic<bool> onMain = false;
    std::atomic<bool> goOn = false;
    world.files->beforeNext = [&, main = QThread::currentThread()] {
        onMain = onMain || QThread::currentThread() == main;
        ++read;
        while (!goOn)
            QThread::msleep(1);
    };
    {
        Scope scope;
        auto arguments = QStringLiteral("{\"folder_id\":\"%1\"}").arg(uuidString(grant.id));
        scope.start([](LocalToolRegistry* tools, QString json) -> Task<> {
            co_await tools->dispatch(QStringLiteral("browse_local_folder"), json);
        }(&world.tools, arguments));
        ASSERT_TRUE(waitUntil([&] { return read > 0; }));
    }
    goOn = true;
    ASSERT_TRUE(waitUntil([&] { return world.bookmarks->openNow() == 0; }));
    EXPECT_FALSE(onMain);
    EXPECT_LT(read, 5);
    EXPECT_EQ(world.handles().size(), 0);
}

} // namespace
} // namespace vennic::test
