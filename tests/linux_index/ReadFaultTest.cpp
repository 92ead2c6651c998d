// Whose fault it is that a document gave no text decides whether it is read again.
#include "linux/FileDescriptor.h"
#include "linux/index/FolderWalk.h"
#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>

namespace {

using namespace vennic;
using namespace vennic::index;
using vennic::index::test::IndexedFolder;
namespace fs = std::filesystem;

QString s(const char* text) { return QString::fromUtf8(text); }

class ReadFaultTest : public ::testing::Test {
protected:
    void start() {
        world.findTextsByTheIndexAlone();
        world.reopen();
        world.share();
    }
    /// One value of the only document in the catalogue, once there is one.
    std::int64_t ofTheDocument(const std::string& column) const {
        try {
            const Database catalogue(world.store() + "/catalog.db", Database::Mode::read);
            return catalogue.integer(("SELECT " + column + " FROM file WHERE kind=0").c_str());
        } catch (const DatabaseError&) {
            return -1;
        }
    }
    bool fails(int times) {
        return vennic::test::waitUntil([&] { return ofTheDocument("failures") == times; });
    }
    /// Lets the wait of a document end, while the index is closed.
    void endWait() const {
        Database(world.store() + "/catalog.db", Database::Mode::write).execute("UPDATE file SET retry=1");
    }
    IndexedFolder world;
};

TEST_F(ReadFaultTest, aDocumentThatCrashesItsReaderIsGivenUpAfterFourTriesHoweverOftenTheProgramStarts) {
    world.settings.reconciler.firstRetry = std::chrono::hours(1);
    world.put("deadly.txt", "mortel");
    start();
    for (int tries = 1; tries < 4; ++tries) {
        EXPECT_TRUE(fails(tries)) << tries;
        EXPECT_TRUE(vennic::test::waitUntil([&] { return world.index().status().pending == 1; }));
        start();
        EXPECT_TRUE(vennic::test::waitUntil([&] { return world.index().status().files == 1; }));
        world.put("signe.txt", "pervenche");
        EXPECT_TRUE(world.finds(s("pervenche"), {s("signe.txt")}));
        EXPECT_EQ(world.texts.reads, 2 * tries); // it waits its time, whatever else is read
        fs::remove(world.path() + "/signe.txt");
        EXPECT_TRUE(world.finds(s("pervenche"), {}));
        world.close();
        endWait();
        start();
    }
    world.settle();
    const int reads = world.texts.reads;
    EXPECT_EQ(reads, 4 + 3);
    EXPECT_EQ(ofTheDocument("state"), static_cast<int>(TextState::refused));
    start();
    world.settle();
    EXPECT_EQ(world.texts.reads, reads);
    EXPECT_EQ(world.find(s("deadly")), QStringList({s("deadly.txt")}));
}

TEST_F(ReadFaultTest, eachWaitAfterACrashIsFourTimesTheOneBefore) {
    world.settings.reconciler.firstRetry = std::chrono::hours(1);
    world.put("deadly.txt", "mortel");
    for (const std::int64_t hours : {1, 4, 16}) {
        const std::int64_t before = QDateTime::currentMSecsSinceEpoch();
        start();
        EXPECT_TRUE(vennic::test::waitUntil([&] { return ofTheDocument("retry") > before; }));
        world.close();
        EXPECT_NEAR(static_cast<double>(ofTheDocument("retry")), static_cast<double>(before + hours * 3600000), 120000);
        endWait();
    }
}

TEST_F(ReadFaultTest, aClockThatIsSetBackMakesNoDocumentWaitForYears) {
    world.settings.reconciler.firstRetry = std::chrono::hours(1);
    world.texts.killed = 1;
    world.put("patient.txt", "pervenche");
    start();
    EXPECT_TRUE(fails(1));
    world.close();
    Database(world.store() + "/catalog.db", Database::Mode::write)
        .execute("UPDATE file SET retry=" + std::to_string(QDateTime::currentMSecsSinceEpoch() + 400LL * 86400000));
    start();
    EXPECT_TRUE(world.finds(s("pervenche"), {s("patient.txt")}));
}

TEST_F(ReadFaultTest, aReaderKilledNineTimesInARowOverOneDocumentCostsItNothing) {
    world.settings.reconciler.firstRetry = {};
    world.texts.killed = 9;
    world.put("innocent.txt", "pervenche");
    world.put("autre.txt", "capucine");
    start();
    EXPECT_TRUE(world.finds(s("pervenche"), {s("innocent.txt")}));
    EXPECT_TRUE(world.finds(s("capucine"), {s("autre.txt")}));
    EXPECT_EQ(world.texts.killed, 0);
}

TEST_F(ReadFaultTest, aDocumentThatGetsItsReaderKilledEachTimeIsGivenUpUntilItChanges) {
    world.settings.reconciler.firstRetry = {};
    world.texts.killed = 1000;
    world.put("glouton.txt", "pervenche");
    start();
    world.settle();
    EXPECT_EQ(world.texts.reads, 10);
    start();
    world.settle();
    EXPECT_EQ(world.texts.reads, 10);
    world.texts.killed = 0;
    world.put("glouton.txt", "assagi");
    EXPECT_TRUE(world.finds(s("assagi"), {s("glouton.txt")}));
}

TEST_F(ReadFaultTest, aChangedDocumentBeginsItsTriesAnew) {
    world.settings.reconciler.firstRetry = std::chrono::hours(1);
    world.put("deadly.txt", "mortel");
    start();
    EXPECT_TRUE(fails(1));
    world.close();
    world.texts.deadly = "nothing";
    world.put("deadly.txt", "guéri depuis");
    start();
    EXPECT_TRUE(world.finds(s("guéri"), {s("deadly.txt")})); // without waiting for its hour
    EXPECT_EQ(ofTheDocument("failures"), 0);
}

TEST_F(ReadFaultTest, aReaderThatCannotBeHadIsNoFailureOfAnyDocument) {
    world.texts.dead = true;
    world.put("patient.txt", "pervenche");
    start();
    EXPECT_TRUE(vennic::test::waitUntil([&] { return world.texts.reads >= 5; }));
    EXPECT_EQ(ofTheDocument("failures"), 0);
    EXPECT_EQ(ofTheDocument("state"), static_cast<int>(TextState::waiting));
    world.texts.dead = false;
    EXPECT_TRUE(world.finds(s("pervenche"), {s("patient.txt")}));
}

TEST_F(ReadFaultTest, aDocumentThatIsWrittenWhileItIsReadIsReadAgainThoughItsHalfWasNone) {
    world.close();
    const std::string path = world.path() + "/moitie.rtf";
    world.texts.halves = 1;
    world.texts.during = [&](std::string_view) {
        if (world.texts.halves > 0)
            std::ofstream(path, std::ios::app) << " entier";
    };
    world.put("moitie.rtf", "pervenche");
    // No word comes of the change: it has to be seen by the reading itself.
    world.settings.watchBudget = 1;
    world.put("a/b.txt", "x");
    start();
    EXPECT_TRUE(world.finds(s("entier"), {s("moitie.rtf")}));
}

TEST_F(ReadFaultTest, aTextReadInTheSameTickAsItWasWrittenIsReadAgainAtTheNextLook) {
    world.settings.reconciler.tick = world.settings.reconciler.coarseTick = std::chrono::hours(1);
    world.put("vite.txt", "pervenche");
    start();
    world.settle();
    EXPECT_EQ(world.texts.reads, 1);
    start();
    EXPECT_TRUE(vennic::test::waitUntil([&] { return world.texts.reads == 2; })); // it may have changed since
    world.settle();
    world.settings.reconciler.tick = world.settings.reconciler.coarseTick = {};
    start();
    EXPECT_TRUE(vennic::test::waitUntil([&] { return world.texts.reads == 3; }));
    world.settle();
    start();
    world.settle();
    EXPECT_EQ(world.texts.reads, 3);
}

/// While it lives this process can't open a file.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few{128, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        for (int taken = dup(STDIN_FILENO); taken >= 0; taken = dup(STDIN_FILENO))
            taken_.emplace_back(taken);
        EXPECT_FALSE(taken_.empty());
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit before_{};
    std::vector<FileDescriptor> taken_;
};

class WithoutDescriptorsTest : public ::testing::Test {
protected:
    WithoutDescriptorsTest() {
        world.close();
        world.put("a/un.txt", "pervenche");
        fs::create_directories(world.store());
        store = std::make_unique<IndexStore>(world.store());
        watches = std::make_unique<Watches>(0);
        reconciler = std::make_unique<Reconciler>(*store, *watches, world.texts);
        walk = std::make_unique<FolderWalk>(*store, *reconciler);
        store->begin();
        root = store->catalogue().addFolder(0, world.path());
    }
    void walkAll() {
        walk->push(root, FolderWalk::Depth::all);
        while (walk->active())
            walk->step(std::chrono::steady_clock::now() + std::chrono::seconds(1));
    }
    std::uint32_t folder() const { return store->catalogue().child(root, "a").value_or(0); }
    std::optional<Entry> document() const { return store->catalogue().entry(folder(), "un.txt"); }

    IndexedFolder world;
    std::unique_ptr<IndexStore> store;
    std::unique_ptr<Watches> watches;
    std::unique_ptr<Reconciler> reconciler;
    std::unique_ptr<FolderWalk> walk;
    std::uint32_t root = 0;
};

TEST_F(WithoutDescriptorsTest, aDocumentStaysWaitingUntilThereAreSomeAgain) {
    walkAll();
    ASSERT_EQ(document()->text, TextState::waiting);
    {
        const NoDescriptors none;
        reconciler->readText(*document());
    }
    ASSERT_TRUE(document());
    EXPECT_EQ(document()->text, TextState::waiting);
    EXPECT_EQ(document()->failures, 0);
    EXPECT_FALSE(reconciler->readerAnswers()); // for a while
    reconciler->readText(*document());
    EXPECT_EQ(document()->text, TextState::indexed);
}

TEST_F(WithoutDescriptorsTest, whatIsInTheCatalogueStaysAndIsLookedAtAgain) {
    walkAll();
    reconciler->readText(*document());
    EXPECT_FALSE(reconciler->incomplete());
    {
        const NoDescriptors none;
        reconciler->syncEntry(folder(), "un.txt");
        reconciler->syncEntry(root, "a");
    }
    ASSERT_TRUE(document());
    EXPECT_EQ(document()->text, TextState::indexed);
    EXPECT_TRUE(reconciler->incomplete());
    reconciler->beginFullWalk();
    {
        const NoDescriptors none;
        walkAll();
    }
    EXPECT_TRUE(document());
    EXPECT_TRUE(reconciler->incomplete());
    reconciler->beginFullWalk();
    walkAll();
    EXPECT_FALSE(reconciler->incomplete());
}

TEST_F(WithoutDescriptorsTest, aSegmentThatCannotBeOpenedIsNotTakenForDamage) {
#if defined(VENNIC_SANITIZED)
    GTEST_SKIP() << "without a descriptor the sanitizer can't look at memory, and takes a virtual call for a fault";
#endif
    const std::string path = world.base() + "/1.seg";
    const std::vector<DocumentFacts> none;
    SegmentWriter(path, none).finish();
    {
        const NoDescriptors without;
        EXPECT_THROW(Segment{path}, std::system_error);
    }
    EXPECT_NO_THROW(Segment{path});
    fs::remove(path);
    EXPECT_THROW(Segment{path}, DamagedIndex);
}

TEST_F(ReadFaultTest, whatCouldNotBeLookedAtIsFoundOnceItCan) {
    world.put("a/un.txt", "premier");
    world.settings.repeatInterval = std::chrono::milliseconds(10);
    start();
    world.settle();
    {
        // Open already, and written while nothing can be opened: its event comes, and looking at it fails.
        const FileDescriptor file(open((world.path() + "/a/un.txt").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        const NoDescriptors none;
        ASSERT_EQ(write(file.number(), " tardif", 7), 7);
        const qint64 until = QDateTime::currentMSecsSinceEpoch() + 300; // longer than changes take to settle
        EXPECT_TRUE(vennic::test::waitUntil([&] { return QDateTime::currentMSecsSinceEpoch() >= until; }));
    }
    EXPECT_TRUE(world.finds(s("tardif"), {s("a/un.txt")}));
    EXPECT_TRUE(world.finds(s("premier"), {s("a/un.txt")}));
}

} // namespace
