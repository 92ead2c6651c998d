#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <sys/stat.h>

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

TEST_F(FreshnessTest, aFolderMovedAwayAndMadeAnewAtOnceIsFollowed) {
    fs::rename(world.path() + "/a", world.base() + "/ailleurs");
    world.put("a/trois.txt", "troisième");
    EXPECT_TRUE(world.finds(s("troisième"), {s("a/trois.txt")}));
    EXPECT_TRUE(world.finds(s("premier"), {}));
    world.put("a/quatre.txt", "quatrième"); // the watch is on the new folder
    EXPECT_TRUE(world.finds(s("quatrième"), {s("a/quatre.txt")}));
    std::ofstream(world.base() + "/ailleurs/cinq.txt") << "cinquième";
    world.put("b/signal.txt", "signal");
    EXPECT_TRUE(world.finds(s("signal"), {s("b/signal.txt")}));
    EXPECT_TRUE(world.finds(s("cinquième"), {}));
}

/// An index whose thread stands still in the reading of a document, and whose queue of events is full by then.
class OverflowTest : public FreshnessTest {
protected:
    void SetUp() override {
        world.close();
        world.texts.during = [this](std::string_view name) {
            if (name != "halte.txt" || stood_.exchange(true))
                return;
            standing_.set_value();
            go_.get_future().wait();
        };
        world.reopen();
        FreshnessTest::SetUp();
    }
    /// Fills the queue; what happens afterwards is told to nobody.
    void standStill() {
        std::size_t most = 0;
        std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> most;
        ASSERT_GT(most, 0U);
        ASSERT_LT(most, 200000U) << "the queue of this machine can't be filled in reasonable time";
        fs::create_directories(world.path() + "/c");
        world.put("c/rempli.bin", "x");
        EXPECT_TRUE(world.finds(s("rempli"), {s("c/rempli.bin")})); // watched by now
        world.put("halte.txt", "halte");
        standing_.get_future().wait();
        // Two files by turns, since equal neighbours in the queue become one event.
        for (std::size_t i = 0; i < most / 2 + 16; ++i) {
            for (const char* name : {"/c/rempli.bin", "/a/un.txt"})
                utimensat(AT_FDCWD, (world.path() + name).c_str(), nullptr, 0);
        }
    }
    void goOn() { go_.set_value(); }

private:
    std::atomic<bool> stood_ = false;
    std::promise<void> standing_, go_;
};

TEST_F(OverflowTest, whatIsDoneWhileTheQueueOfEventsIsFullIsFoundAllTheSame) {
    standStill();
    world.put("b/perdu.txt", "pervenche");
    world.put("b/deux.txt", "changé sans un mot");
    fs::remove(world.path() + "/a/un.txt");
    world.put("d/e/neuf.txt", "capucine");
    goOn();
    EXPECT_TRUE(world.finds(s("pervenche"), {s("b/perdu.txt")}));
    EXPECT_TRUE(world.finds(s("changé"), {s("b/deux.txt")}));
    EXPECT_TRUE(world.finds(s("second"), {}));
    EXPECT_TRUE(world.finds(s("premier"), {}));
    EXPECT_TRUE(world.finds(s("capucine"), {s("d/e/neuf.txt")}));
}

TEST_F(OverflowTest, aFolderReplacedMeanwhileIsFollowedAfterwards) {
    standStill();
    fs::rename(world.path() + "/b", world.base() + "/ailleurs"); // its watch goes with it
    world.put("b/trois.txt", "troisième");
    goOn();
    EXPECT_TRUE(world.finds(s("troisième"), {s("b/trois.txt")}));
    EXPECT_TRUE(world.finds(s("second"), {}));
    world.settle();
    world.put("b/quatre.txt", "quatrième");
    EXPECT_TRUE(world.finds(s("quatrième"), {s("b/quatre.txt")}));
}

TEST_F(FreshnessTest, onARemoteVolumeItSaysThatChangesAreFoundLater) {
    world.settings.reconciler.volumeOf = [](int) { return index::Volume::remote; };
    world.reopen();
    world.share();
    world.settle();
    EXPECT_FALSE(world.index().status().watchLimited); // the system isn't short of anything
    EXPECT_EQ(world.index().status().problem, s("Des dossiers partagés se trouvent sur un volume distant : les "
                                                "changements y sont trouvés plus tard."));
    world.settings.reconciler.volumeOf = index::volumeOf;
    world.reopen();
    world.share();
    world.settle();
    EXPECT_TRUE(world.index().status().problem.isEmpty());
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
