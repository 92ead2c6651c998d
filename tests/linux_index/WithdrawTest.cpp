#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace vennic;
using vennic::index::test::IndexedFolder;
namespace fs = std::filesystem;

QString s(const char* text) { return QString::fromUtf8(text); }

/// The files of the index that hold these bytes.
std::vector<std::string> holding(const std::string& folder, const std::string& bytes) {
    std::vector<std::string> result;
    for (const auto& file : fs::directory_iterator(folder)) {
        std::ostringstream content;
        content << std::ifstream(file.path(), std::ios::binary).rdbuf();
        if (content.str().find(bytes) != std::string::npos)
            result.push_back(file.path().filename().string());
    }
    return result;
}

class WithdrawTest : public ::testing::Test {
protected:
    QString sub(const char* name) const { return world.folder() + u'/' + s(name); }
    QStringList find(const char* word, const QStringList& scopes) {
        return test::found(world, test::allOf({s(word)}), scopes);
    }
    IndexedFolder world;
};

TEST_F(WithdrawTest, aWithdrawnFolderIsNotFoundByTheNextQueryAndLeavesNoWordOnDisk) {
    // Enough for a segment, and some that stay pending.
    for (int i = 0; i < 400; ++i) {
        world.put("secret/dossier/f" + std::to_string(i) + ".txt", "xylokarte" + std::to_string(i));
        world.put("public/g" + std::to_string(i) + ".txt", "kwartzite" + std::to_string(i));
    }
    world.put("secret/lettre.rtf", "texte gardé zéphyrine");
    world.index().setFolders({sub("secret"), sub("public")});
    world.settle();
    world.put("secret/tard.txt", "wyvernée");
    ASSERT_TRUE(world.finds(s("wyvernée"), {s("secret/tard.txt")}));
    ASSERT_EQ(find("xylokarte7", {sub("secret")}).size(), 11);
    ASSERT_FALSE(holding(world.store(), "xylokarte").empty());
    ASSERT_FALSE(holding(world.store(), "wyvernée").empty());

    world.index().setFolders({sub("public")});
    EXPECT_EQ(find("xylokarte7", {sub("secret"), sub("public"), world.folder()}), QStringList());
    EXPECT_EQ(find("kwartzite7", {sub("public")}).size(), 11);
    for (const char* word : {"xylokarte", "wyvernée", "zéphyrine", "dossier", "tard.txt"})
        EXPECT_TRUE(test::waitUntil([&] { return holding(world.store(), word).empty(); }))
            << word << " in " << holding(world.store(), word).front();
    world.settle();
    EXPECT_EQ(find("kwartzite7", {sub("public")}).size(), 11);
}

TEST_F(WithdrawTest, theWordsGoEvenIfTheProgramEndsInBetween) {
    for (int i = 0; i < 400; ++i)
        world.put("secret/f" + std::to_string(i) + ".txt", "xylokarte" + std::to_string(i));
    world.put("public/g.txt", "kwartzite");
    world.index().setFolders({sub("secret"), sub("public")});
    world.settle();
    world.close();
    world.reopen();
    world.index().setFolders({sub("public")});
    EXPECT_EQ(find("xylokarte", {sub("secret"), sub("public")}), QStringList());
    world.close();
    world.reopen();
    world.index().setFolders({sub("public")});
    EXPECT_TRUE(test::waitUntil([&] { return holding(world.store(), "xylokarte").empty(); }));
    EXPECT_EQ(find("kwartzite", {sub("public")}), QStringList({s("public/g.txt")}));
}

TEST_F(WithdrawTest, wordsOfASubfolderThatWasDeletedBeforeGoToo) {
    // Two levels down, so that no entry of the shared folder itself stands in the segment with the words.
    fs::create_directories(world.path() + "/secret/ancien/profond");
    world.put("public/g.txt", "kwartzite");
    world.index().setFolders({sub("secret"), sub("public")});
    world.settle();
    world.close();
    for (int i = 0; i < 400; ++i)
        world.put("secret/ancien/profond/f" + std::to_string(i) + ".txt", "xylokarte" + std::to_string(i));
    world.reopen();
    world.index().setFolders({sub("secret"), sub("public")});
    world.settle();
    ASSERT_FALSE(find("xylokarte7", {sub("secret")}).isEmpty());
    fs::remove_all(world.path() + "/secret/ancien");
    ASSERT_TRUE(test::waitUntil([&] { return find("xylokarte7", {sub("secret")}).isEmpty(); }));
    ASSERT_FALSE(holding(world.store(), "xylokarte").empty());

    world.index().setFolders({sub("public")});
    EXPECT_TRUE(test::waitUntil([&] { return holding(world.store(), "xylokarte").empty(); }));
    EXPECT_EQ(find("kwartzite", {sub("public")}), QStringList({s("public/g.txt")}));
}

TEST_F(WithdrawTest, allFoldersWithdrawnLeaveAnEmptyIndexThatIsReady) {
    world.put("a.txt", "kwartzite");
    world.share();
    world.settle();
    world.index().setFolders({});
    EXPECT_EQ(find("kwartzite", {world.folder()}), QStringList());
    world.settle();
    EXPECT_EQ(world.index().status().files, 0);
    EXPECT_TRUE(test::waitUntil([&] { return holding(world.store(), "kwartzite").empty(); }));
}

TEST_F(WithdrawTest, foldersMayLieWithinOneAnotherAndComeAndGo) {
    world.put("a/x.txt", "kwartzite");
    world.put("a/b/y.txt", "kwartzite");
    world.put("a/b/c/z.txt", "kwartzite");
    const QStringList all{s("a/x.txt"), s("a/b/y.txt"), s("a/b/c/z.txt")};
    const auto sorted = [](QStringList list) {
        list.sort();
        return list;
    };
    const auto within = [&](const char* scope) { return sorted(find("kwartzite", {sub(scope)})); };
    world.index().setFolders({sub("a"), sub("a/b"), sub("a"), sub("a/")});
    world.settle();
    EXPECT_EQ(within("a"), sorted(all));
    EXPECT_EQ(within("a/b"), sorted({s("a/b/y.txt"), s("a/b/c/z.txt")}));
    EXPECT_EQ(sorted(find("kwartzite", {sub("a"), sub("a/b")})), sorted(all)); // each but once
    const int reads = world.texts.reads;
    world.index().setFolders({sub("a/b")}); // the inner one alone
    EXPECT_EQ(within("a"), sorted({s("a/b/y.txt"), s("a/b/c/z.txt")}));
    world.settle();
    EXPECT_EQ(within("a/b"), sorted({s("a/b/y.txt"), s("a/b/c/z.txt")}));
    world.index().setFolders({sub("a")}); // the outer one takes it over
    world.settle();
    EXPECT_EQ(within("a"), sorted(all));
    EXPECT_EQ(world.texts.reads, reads + 1); // only what had been withdrawn is read again
    world.index().setFolders({sub("a/b/c")});
    EXPECT_EQ(within("a"), QStringList({s("a/b/c/z.txt")}));
    world.settle();
    EXPECT_EQ(within("a/b/c"), QStringList({s("a/b/c/z.txt")}));
    EXPECT_EQ(world.texts.reads, reads + 1);
}

TEST_F(WithdrawTest, pathsComeAsTheScopeWasSpelled) {
    world.put("a/b/x.txt", "kwartzite");
    fs::create_directory_symlink(world.path() + "/a", world.base() + "/lien");
    world.index().setFolders({QString::fromStdString(world.base() + "/lien")});
    world.settle();
    const auto path = [&](const QString& scope) {
        const auto query = world.index().query(test::allOf({s("kwartzite")}), {scope}, 10);
        bool gathered = false;
        query->start([&] { gathered = true; });
        EXPECT_TRUE(test::waitUntil([&] { return gathered; }));
        return query->resultCount() == 1 ? *query->resultAt(0).path : QString();
    };
    const QString base = QString::fromStdString(world.base());
    EXPECT_EQ(path(base + s("/lien")), base + s("/lien/b/x.txt"));
    EXPECT_EQ(path(base + s("/lien/b/")), base + s("/lien/b/x.txt"));
    EXPECT_EQ(path(base), base + s("/partage/a/b/x.txt"));
    EXPECT_EQ(path(s("/nulle/part")), QString());
    EXPECT_EQ(path(QString()), QString());
}

TEST_F(WithdrawTest, aHiddenFolderThatIsGrantedItselfIsIndexed) {
    world.put("a/.notes/x.txt", "kwartzite");
    world.index().setFolders({sub("a"), sub("a/.notes")});
    world.settle();
    EXPECT_EQ(find("kwartzite", {sub("a/.notes")}), QStringList({s("a/.notes/x.txt")}));
    EXPECT_EQ(find("kwartzite", {sub("a")}), QStringList());
}

} // namespace
