#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace vennic;
using vennic::index::test::IndexedFolder;
namespace fs = std::filesystem;

QString s(const char* text) { return QString::fromUtf8(text); }

class HostileDiskTest : public ::testing::Test {
protected:
    IndexedFolder world;
};

TEST_F(HostileDiskTest, namesOfAnyBytesAreIndexed) {
    world.put("mauvais\xff\xfe octets.txt", "alpha");
    world.put("deux\nlignes.txt", "beta");
    world.put(std::string(251, 'n') + ".txt", "gamma");
    world.put("étoile * et ? et \\ et '.txt", "delta");
    world.put("tab\tet\x01 commande.txt", "epsilon");
    world.put("e\u0301te\u0301.txt", "zeta");
    world.share();
    world.settle();
    EXPECT_EQ(world.find(s("octets")).size(), 1);
    EXPECT_EQ(world.find(s("alpha")).size(), 1);
    EXPECT_EQ(world.find(s("lignes")), QStringList({s("deux\nlignes.txt")}));
    EXPECT_EQ(world.find(s("nnnnnnnn")).size(), 1);
    EXPECT_EQ(world.find(QString(90, u'n')).size(), 1);
    EXPECT_EQ(world.find(QString(200, u'n')).size(), 1);
    EXPECT_EQ(world.find(QString(252, u'n')).size(), 0);
    EXPECT_EQ(world.find(s("\\*")).size(), 1);
    EXPECT_EQ(world.find(s("\\\\")).size(), 1);
    EXPECT_EQ(world.find(s("été")).size(), 1);
    EXPECT_EQ(world.find(s("epsilon")).size(), 1);
}

TEST_F(HostileDiskTest, linksPipesAndSocketsAreNamesOnly) {
    fs::create_directories(world.base() + "/dehors");
    std::ofstream(world.base() + "/dehors/secret.txt") << "xylokarte";
    fs::create_directory_symlink(world.base() + "/dehors", world.path() + "/lien");
    fs::create_symlink(world.base() + "/dehors/secret.txt", world.path() + "/direct.txt");
    fs::create_directory_symlink(world.path(), world.path() + "/boucle");
    ASSERT_EQ(mkfifo((world.path() + "/tube.txt").c_str(), 0600), 0);
    world.share();
    world.settle();
    EXPECT_EQ(world.find(s("xylokarte")), QStringList());
    EXPECT_EQ(world.find(s("secret")), QStringList());
    for (const char* name : {"lien", "direct.txt", "boucle", "tube.txt"})
        EXPECT_EQ(world.find(s(name)), QStringList({s(name)}));
    EXPECT_EQ(world.texts.reads, 0);
}

TEST_F(HostileDiskTest, hugeFilesAreFoundByNameOnly) {
    for (const auto& [name, size] :
         {std::pair("juste.txt", off_t{10485760}), {"trop.txt", off_t{10485761}}, {"creux.txt", off_t{1} << 40}}) {
        const int file = open((world.path() + '/' + name).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        ASSERT_EQ(pwrite(file, "kwartzite", 9, 0), 9);
        ASSERT_EQ(ftruncate(file, size), 0);
        close(file);
    }
    world.share();
    world.settle();
    EXPECT_EQ(world.find(s("kwartzite")), QStringList({s("juste.txt")}));
    EXPECT_EQ(world.find(s("trop")), QStringList({s("trop.txt")}));
    EXPECT_EQ(world.find(s("creux")), QStringList({s("creux.txt")}));
}

TEST_F(HostileDiskTest, aFolderSwappedForALinkWhileItIsWalkedLeadsNowhere) {
    fs::create_directories(world.base() + "/dehors");
    for (int i = 0; i < 20; ++i)
        std::ofstream(world.base() + "/dehors/secret" + std::to_string(i) + ".txt") << "xylokarte";
    fs::create_directories(world.path() + "/a/piege");
    world.put("a/temoin.txt", "temoin");
    fs::create_directory_symlink(world.base() + "/dehors", world.path() + "/a/.lien");
    std::atomic<bool> stop = false;
    std::thread attacker([&] {
        const std::string piege = world.path() + "/a/piege";
        const std::string lien = world.path() + "/a/.lien";
        while (!stop) {
            renameat2(AT_FDCWD, piege.c_str(), AT_FDCWD, lien.c_str(), RENAME_EXCHANGE);
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < 5; ++round) {
        world.close();
        fs::remove_all(world.store());
        world.reopen();
        world.share();
        EXPECT_TRUE(test::waitUntil([&] { return world.find(s("temoin")).size() == 1; }));
        EXPECT_EQ(world.find(s("xylokarte")), QStringList());
        EXPECT_EQ(world.find(s("secret")), QStringList());
    }
    stop = true;
    attacker.join();
}

TEST_F(HostileDiskTest, aVeryDeepTreeIsIndexedDownToItsLimit) {
    std::string path = world.path();
    for (int i = 0; i < 300; ++i)
        path += "/p";
    fs::create_directories(path);
    world.put("p/p/peu.txt", "kwartzite");
    world.share();
    world.settle();
    EXPECT_EQ(world.find(s("kwartzite")).size(), 1);
    EXPECT_GE(world.index().status().files, 190);
    EXPECT_LE(world.index().status().files, 310);
}

TEST_F(HostileDiskTest, aDocumentThatKillsItsReaderIsNotTriedAgainUntilItChanges) {
    world.put("deadly.txt", "mortel");
    world.put("sain.txt", "kwartzite");
    world.share();
    world.settle();
    EXPECT_EQ(world.find(s("deadly")).size(), 1);
    EXPECT_EQ(world.find(s("kwartzite")).size(), 1);
    const int reads = world.texts.reads;
    world.reopen();
    world.share();
    world.settle();
    EXPECT_EQ(world.texts.reads, reads);
    world.texts.deadly = "nothing";
    world.put("deadly.txt", "guéri");
    EXPECT_TRUE(world.finds(s("guéri"), {s("deadly.txt")}));
}

TEST_F(HostileDiskTest, aReaderThatCanNeverBeHadLeavesTheDocumentsWaiting) {
    world.texts.dead = true;
    for (int i = 0; i < 30; ++i)
        world.put("f" + std::to_string(i) + ".txt", "kwartzite");
    world.share();
    EXPECT_TRUE(test::waitUntil([&] { return world.texts.reads >= 5; })); // always later
    EXPECT_EQ(world.find(s("f2")).size(), 11);                            // by name meanwhile
    EXPECT_EQ(world.index().status().pending, 30);
    EXPECT_FALSE(world.index().status().ready);
    world.texts.dead = false;
    world.settle();
    EXPECT_EQ(world.find(s("kwartzite")).size(), 30);
}

TEST_F(HostileDiskTest, unreadableFoldersAndFilesAreFoundByName) {
    world.put("clos/dedans.txt", "xylokarte");
    world.put("muet.txt", "xylokarte");
    world.put("ouvert.txt", "kwartzite");
    fs::permissions(world.path() + "/clos", fs::perms::none);
    fs::permissions(world.path() + "/muet.txt", fs::perms::none);
    world.share();
    world.settle();
    EXPECT_EQ(world.find(s("clos")), QStringList({s("clos")}));
    EXPECT_EQ(world.find(s("muet")), QStringList({s("muet.txt")}));
    EXPECT_EQ(world.find(s("kwartzite")).size(), 1);
    if (geteuid() != 0) { // the superuser may read all
        EXPECT_EQ(world.find(s("xylokarte")), QStringList());
    }
    fs::permissions(world.path() + "/clos", fs::perms::owner_all);
}

TEST_F(HostileDiskTest, aReaderThatIsEndedFromOutsideCostsNoDocumentItsText) {
    world.share();
    world.settle();
    world.texts.killed = 1;
    world.put("innocent.txt", "pervenche");
    EXPECT_TRUE(world.finds(s("pervenche"), {s("innocent.txt")}));
    EXPECT_EQ(world.texts.killed, 0);
}

TEST_F(HostileDiskTest, whatIsReadWhenTheProgramEndsIsReadAtTheNextStart) {
    world.texts.ended = true;
    world.put("entame.txt", "capucine");
    world.share();
    EXPECT_TRUE(test::waitUntil([&] { return world.texts.reads >= 1; }));
    world.close();
    world.texts.ended = false;
    world.reopen();
    world.share();
    EXPECT_TRUE(world.finds(s("capucine"), {s("entame.txt")}));
}

TEST_F(HostileDiskTest, queriesBeyondTheLimitsAreRefusedOrCut) {
    world.put("a.txt", "kwartzite");
    world.share();
    world.settle();
    IndexPredicate many;
    std::vector<int> all;
    for (int i = 0; i < 257; ++i) {
        many.patterns.append(s("*kwartzite*"));
        all.push_back(i);
    }
    many.anyOf = {all};
    EXPECT_FALSE(world.index().query(many, {world.folder()}, 10)->start([] {}));
    const IndexPredicate longest{{QString(5000, u'k')}, {{0}}};
    EXPECT_FALSE(world.index().query(longest, {world.folder()}, 10)->start([] {}));
    EXPECT_EQ(world.find(s("kwartzite"), -5), QStringList());
    EXPECT_EQ(test::found(world, {{s("*k*")}, {{7}}}, {world.folder()}), QStringList());
    EXPECT_EQ(test::found(world, {{}, {{}}}, {world.folder()}).size(), 1); // nothing asked: everything
}

} // namespace
