#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <atomic>
#include <filesystem>
#include <future>

namespace {

using namespace vennic;
using vennic::index::test::IndexedFolder;
using vennic::index::test::PlainTextSource;
using vennic::test::allOf;
using vennic::test::found;

QString s(const char* text) { return QString::fromUtf8(text); }

/// Holds up whoever comes, until it is opened.
class Gate {
public:
    void open() {
        if (!std::exchange(isOpen_, true))
            opened_.set_value();
    }
    void pass() const { future_.wait(); }

private:
    std::promise<void> opened_;
    std::shared_future<void> future_ = opened_.get_future().share();
    bool isOpen_ = false;
};

/// An index whose own work doesn't get on, as on a machine that is busy with other things.
class UnfinishedIndexTest : public ::testing::Test {
protected:
    UnfinishedIndexTest() {
        world.queryTexts = &queryTexts;
        world.settings.reconciler.volumeOf = [this](int folder) {
            if (held)
                look.pass();
            return index::volumeOf(folder);
        };
        world.texts.during = [this](std::string_view) {
            if (heldTexts)
                look.pass();
        };
    }
    ~UnfinishedIndexTest() override { look.open(); }

    void begin() {
        world.reopen();
        world.share();
    }

    std::atomic<bool> held = true;       // at the first look at a folder
    std::atomic<bool> heldTexts = false; // at the first text
    PlainTextSource queryTexts;
    Gate look;
    IndexedFolder world; // goes first
};

TEST_F(UnfinishedIndexTest, aNameIsFoundBeforeTheIndexHasLookedAtItsFolder) {
    world.write(s("Facture EDF.pdf"), s("x"), 3000);
    world.write(s("courrier/2024/facture garage.odt"), s("x"), 4000);
    world.write(s("autre.txt"), s("x"), 5000);
    begin();
    EXPECT_EQ(world.find(s("FACTURE")), QStringList({s("courrier/2024/facture garage.odt"), s("Facture EDF.pdf")}));
    EXPECT_EQ(world.find(s("factur*garage")), QStringList({s("courrier/2024/facture garage.odt")}));
    EXPECT_EQ(world.find(s("2024")), QStringList({s("courrier/2024")}));
    EXPECT_EQ(world.find(s("absent")), QStringList());
    EXPECT_FALSE(world.index().status().ready);
}

TEST_F(UnfinishedIndexTest, aTextIsFoundBeforeTheIndexHasReadItNewestFirst) {
    world.write(s("notes.txt"), s("la FACTURE d'électricité"), 2000);
    world.write(s("lettre.rtf"), s("votre facture"), 3000);
    world.write(s("facture.bin"), s("x"), 1000);
    world.write(s("image.jpg"), s("facture"), 4000);
    begin();
    EXPECT_EQ(world.find(s("facture")), QStringList({s("lettre.rtf"), s("notes.txt"), s("facture.bin")}));
    EXPECT_EQ(found(world, allOf({s("notes"), s("facture")}), {world.folder()}, 10), QStringList({s("notes.txt")}));
    EXPECT_EQ(world.find(s("facture"), 2), QStringList({s("lettre.rtf"), s("notes.txt")}));
    EXPECT_EQ(world.find(s("facture"), 0), QStringList());
}

TEST_F(UnfinishedIndexTest, onlyWhatIsSharedAndNotHiddenIsLookedAt) {
    world.write(s("a/rapport.txt"), s("x"), 4000);
    world.write(s("b/rapport.txt"), s("x"), 3000);
    world.write(s("b/.git/rapport.txt"), s("x"), 2000);
    world.write(s("b/.rapport.txt"), s("x"), 1000);
    std::filesystem::create_directory_symlink(world.path() + "/a", world.path() + "/b/lien");
    world.reopen();
    world.index().setFolders({world.folder() + s("/b")});
    EXPECT_EQ(world.find(s("rapport")), QStringList({s("b/rapport.txt")}));
    EXPECT_EQ(found(world, allOf({s("rapport")}), {world.folder() + s("/a")}, 10), QStringList());
    world.index().setFolders({});
    EXPECT_EQ(world.find(s("rapport")), QStringList());
}

TEST_F(UnfinishedIndexTest, whatTheIndexHasIsNeitherDoubledNorReadAgain) {
    held = false;
    world.write(s("a/facture.txt"), s("facture"), 3000);
    world.write(s("a/reçu.txt"), s("une facture"), 1000);
    world.reopen();
    world.index().setFolders({world.folder() + s("/a")});
    world.settle();
    world.write(s("b/facture.txt"), s("x"), 2000);
    held = true;
    world.index().setFolders({world.folder() + s("/a"), world.folder() + s("/b")});
    const QStringList scopes{world.folder() + s("/a"), world.folder() + s("/b")};
    EXPECT_EQ(found(world, allOf({s("facture")}), scopes, 10),
              QStringList({s("a/facture.txt"), s("b/facture.txt"), s("a/reçu.txt")}));
    EXPECT_EQ(queryTexts.reads, 0);
    world.write(s("a/facture.txt"), s("facture corrigée"),
                4000); // changed since: found by its old state and its new one
    EXPECT_EQ(found(world, allOf({s("facture")}), scopes, 10),
              QStringList({s("a/facture.txt"), s("b/facture.txt"), s("a/reçu.txt")}));
    EXPECT_EQ(found(world, allOf({s("corrigée")}), scopes, 10), QStringList({s("a/facture.txt")}));
}

TEST_F(UnfinishedIndexTest, textsThatStillWaitForTheIndexAreReadForWhoAsks) {
    held = false;
    heldTexts = true;
    world.write(s("notes.txt"), s("tulipe"), 2000);
    begin();
    ASSERT_TRUE(vennic::test::waitUntil([&] { return world.texts.reads == 1; }));
    EXPECT_EQ(world.find(s("tulipe")), QStringList({s("notes.txt")}));
    EXPECT_EQ(world.find(s("notes")), QStringList({s("notes.txt")}));
    EXPECT_EQ(queryTexts.reads, 1) << "a name that matches needs no text";
}

TEST_F(UnfinishedIndexTest, anIndexThatIsCompleteLooksAtNoDiskForASearch) {
    held = false;
    world.write(s("notes.txt"), s("tulipe"), 2000);
    begin();
    world.settle();
    std::filesystem::remove(world.path() + "/notes.txt"); // until the index hears of it
    EXPECT_EQ(world.find(s("absent")), QStringList());
    EXPECT_EQ(queryTexts.reads, 0);
    world.write(s("deux.txt"), s("jonquille"), 3000);
    EXPECT_TRUE(world.finds(s("jonquille"), {s("deux.txt")}));
    EXPECT_EQ(queryTexts.reads, 0) << "changes are the index's own affair";
}

TEST_F(UnfinishedIndexTest, anIndexThatCannotBeWrittenHasTheDiskLookedAt) {
    world.settings.directory = "/proc/vennic/index";
    world.write(s("facture.bin"), s("x"), 3000);
    world.write(s("notes.txt"), s("une facture"), 2000);
    begin();
    ASSERT_TRUE(vennic::test::waitUntil([&] { return !world.index().status().problem.isEmpty(); }));
    EXPECT_EQ(world.find(s("facture")), QStringList({s("facture.bin"), s("notes.txt")}));
}

TEST_F(UnfinishedIndexTest, whoStopsASearchOnTheDiskKeepsWhatItHasFound) {
    world.write(s("facture.bin"), s("x"), 3000);
    world.write(s("notes.txt"), s("une facture"), 2000);
    Gate text;
    std::atomic<bool> reading = false;
    queryTexts.during = [&](std::string_view) {
        reading = true;
        text.pass();
    };
    begin();
    const auto query = world.index().query(allOf({s("facture")}), {world.folder()}, 10);
    ASSERT_TRUE(query->start([] { FAIL(); }));
    ASSERT_TRUE(vennic::test::waitUntil([&] { return reading.load(); }));
    EXPECT_EQ(query->resultCount(), 1) << "names are there while texts are read";
    query->stop();
    text.open();
    EXPECT_EQ(query->resultAt(0).name, s("facture.bin"));
    EXPECT_EQ(world.find(s("facture.bin")),
              QStringList({s("facture.bin")})); // a later query has ended, so this one has
    EXPECT_EQ(query->resultCount(), 1);
}

} // namespace
