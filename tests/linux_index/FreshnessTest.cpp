#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <filesystem>
#include <fstream>

namespace {

using namespace vennic;
using vennic::index::test::IndexedFolder;
namespace fs = std::filesystem;

QString s(const char* text) { return QString::fromUtf8(text); }

class FreshnessTest : public ::testing::Test {
protected:
    void SetUp() override {
        world.put("a/un.txt", "premier");
        world.put("b/deux.txt", "second");
        world.share();
        world.settle();
    }
    void rename(const char* from, const char* to) { fs::rename(world.path() + '/' + from, world.path() + '/' + to); }
    IndexedFolder world;
};

TEST_F(FreshnessTest, aNewFileIsFoundByNameAndText) {
    world.put("a/nouveau.txt", "inédit");
    EXPECT_TRUE(world.finds(s("nouveau"), {s("a/nouveau.txt")}));
    EXPECT_TRUE(world.finds(s("inédit"), {s("a/nouveau.txt")}));
}

TEST_F(FreshnessTest, aChangedTextReplacesTheFormerOne) {
    world.put("a/un.txt", "remplacé");
    EXPECT_TRUE(world.finds(s("remplacé"), {s("a/un.txt")}));
    EXPECT_TRUE(world.finds(s("premier"), {}));
    EXPECT_TRUE(world.finds(s("un.txt"), {s("a/un.txt")}));
}

TEST_F(FreshnessTest, aDeletedFileIsNotFoundAnyMore) {
    fs::remove(world.path() + "/a/un.txt");
    EXPECT_TRUE(world.finds(s("premier"), {}));
}

TEST_F(FreshnessTest, aRenamedFileIsFoundUnderItsNewNameOnly) {
    rename("a/un.txt", "b/autre.txt");
    EXPECT_TRUE(world.finds(s("autre"), {s("b/autre.txt")}));
    EXPECT_TRUE(world.finds(s("premier"), {s("b/autre.txt")}));
    EXPECT_TRUE(world.finds(s("un.txt"), {}));
}

TEST_F(FreshnessTest, aRenamedFolderKeepsItsTextsWithoutReadingThemAgain) {
    const int reads = world.texts.reads;
    rename("a", "c");
    EXPECT_TRUE(world.finds(s("premier"), {s("c/un.txt")}));
    EXPECT_TRUE(world.finds(s("c"), {s("c"), s("b/deux.txt")})); // "second" holds a c too
    world.put("c/encore.txt", "toujours suivi");
    EXPECT_TRUE(world.finds(s("suivi"), {s("c/encore.txt")}));
    EXPECT_EQ(world.texts.reads, reads + 1);
}

TEST_F(FreshnessTest, aFolderMovedInIsWalkedAndOneMovedOutIsForgotten) {
    fs::create_directories(world.base() + "/dehors/x/y");
    std::ofstream(world.base() + "/dehors/x/y/profond.txt") << "caché ailleurs";
    fs::rename(world.base() + "/dehors/x", world.path() + "/x");
    EXPECT_TRUE(world.finds(s("ailleurs"), {s("x/y/profond.txt")}));
    fs::rename(world.path() + "/a", world.base() + "/dehors/a");
    EXPECT_TRUE(world.finds(s("premier"), {}));
    std::ofstream(world.base() + "/dehors/a/apres.txt") << "hors de portée";
    world.put("b/signal.txt", "signal");
    EXPECT_TRUE(world.finds(s("signal"), {s("b/signal.txt")}));
    EXPECT_TRUE(world.finds(s("portée"), {}));
}

TEST_F(FreshnessTest, aFolderHiddenByItsNewNameIsForgotten) {
    rename("a", ".a");
    EXPECT_TRUE(world.finds(s("premier"), {}));
    rename(".a", "a");
    EXPECT_TRUE(world.finds(s("premier"), {s("a/un.txt")}));
}

TEST_F(FreshnessTest, aFolderReplacedByAnotherOfThatNameIsWalkedAgain) {
    fs::remove_all(world.path() + "/a");
    world.put("a/trois.txt", "troisième");
    EXPECT_TRUE(world.finds(s("troisième"), {s("a/trois.txt")}));
    EXPECT_TRUE(world.finds(s("premier"), {}));
    world.put("a/quatre.txt", "quatrième");
    EXPECT_TRUE(world.finds(s("quatrième"), {s("a/quatre.txt")}));
}

TEST_F(FreshnessTest, aBurstInOneFolderIsFoundWhole) {
    for (int i = 0; i < 300; ++i)
        world.put("a/rafale " + std::to_string(i) + ".txt", "salve " + std::to_string(i));
    EXPECT_TRUE(test::waitUntil([&] { return world.find(s("rafale"), 1000).size() == 300; }));
    EXPECT_TRUE(test::waitUntil([&] { return world.find(s("salve"), 1000).size() == 300; }));
}

TEST_F(FreshnessTest, whatHappenedWhileItWasClosedIsFoundAtTheNextStart) {
    world.close();
    world.put("a/un.txt", "changé pendant la nuit");
    fs::remove(world.path() + "/b/deux.txt");
    rename("a", "d");
    world.reopen();
    world.share();
    EXPECT_TRUE(world.finds(s("nuit"), {s("d/un.txt")}));
    EXPECT_TRUE(world.finds(s("second"), {}));
}

TEST_F(FreshnessTest, aSettledIndexAnswersBeforeAnythingIsReadAgain) {
    world.close();
    const int reads = world.texts.reads;
    world.reopen();
    world.share();
    EXPECT_EQ(world.find(s("premier")), QStringList({s("a/un.txt")}));
    world.settle();
    EXPECT_EQ(world.texts.reads, reads);
}

TEST_F(FreshnessTest, pastTheWatchLimitItSaysSoAndLooksBeforeASearch) {
    world.settings.watchBudget = 2;
    world.reopen();
    world.share();
    world.settle();
    EXPECT_TRUE(world.index().status().watchLimited);
    EXPECT_FALSE(world.index().status().problem.isEmpty());
    world.put("a/tardif a.txt", "x");
    world.put("b/tardif b.txt", "x");
    fs::create_directories(world.path() + "/b/neuf");
    world.put("b/neuf/tardif c.txt", "x");
    EXPECT_TRUE(world.finds(s("tardif"), {s("a/tardif a.txt"), s("b/tardif b.txt"), s("b/neuf/tardif c.txt")}));
}

TEST_F(FreshnessTest, pastTheWatchLimitChangedTextsAreFoundByRescans) {
    world.settings.watchBudget = 1;
    world.settings.rescanInterval = std::chrono::milliseconds{50};
    world.reopen();
    world.share();
    world.put("a/un.txt", "changé sans un mot");
    EXPECT_TRUE(world.finds(s("sans"), {s("a/un.txt")}));
}

TEST_F(FreshnessTest, aDeletedIndexFolderWhileClosedIsMadeAgain) {
    world.close();
    fs::remove_all(world.store());
    world.reopen();
    world.share();
    EXPECT_TRUE(world.finds(s("premier"), {s("a/un.txt")}));
    const auto mode = fs::status(world.store()).permissions();
    EXPECT_EQ(mode & fs::perms::all, fs::perms::owner_all);
}

TEST_F(FreshnessTest, theRootItselfMayGoAndComeBack) {
    world.settings.lostRootInterval = std::chrono::milliseconds(20);
    world.reopen();
    world.share();
    world.settle();
    fs::rename(world.path(), world.base() + "/ailleurs");
    EXPECT_TRUE(world.finds(s("premier"), {}));
    fs::rename(world.base() + "/ailleurs", world.path());
    EXPECT_TRUE(world.finds(s("premier"), {s("a/un.txt")}));
}

} // namespace
