#include "linux_index/IndexedFolder.h"
#include "support/Await.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace vennic;
using namespace vennic::index;
using vennic::index::test::IndexedFolder;
using vennic::index::test::PlainTextSource;
namespace fs = std::filesystem;

QString s(const char* text) { return QString::fromUtf8(text); }

class CrashTest : public ::testing::Test {
protected:
    CrashTest() {
        // Small enough that pending words, segments and merges all come up within a moment.
        world.settings.limits = {10, 25, 1 << 20, 3, 1 << 20};
        world.findTextsByTheIndexAlone();
    }
    void fill() {
        for (int i = 0; i < 60; ++i)
            world.put("d" + std::to_string(i % 3) + "/f" + std::to_string(i) + ".txt",
                      "kwartzite mot" + std::to_string(i));
        world.reopen();
        world.share();
        world.settle();
        ASSERT_EQ(world.find(s("kwartzite")).size(), 60);
        world.close();
    }
    std::vector<fs::path> storeFiles(const std::string& extension) const {
        std::vector<fs::path> files;
        for (const auto& file : fs::directory_iterator(world.store())) {
            if (file.path().extension() == extension)
                files.push_back(file.path());
        }
        return files;
    }
    void expectWhole(const std::string& what) {
        world.reopen();
        world.share();
        EXPECT_TRUE(vennic::test::waitUntil([&] { return world.find(s("kwartzite")).size() == 60; })) << what;
        EXPECT_TRUE(vennic::test::waitUntil([&] { return world.find(s("mot5")).size() == 11; })) << what;
        world.close();
    }
    IndexedFolder world;
};

/// Changes files at random until it is killed, while an index follows.
[[noreturn]] void churn(const IndexedFolder& world, unsigned seed) {
    PlainTextSource texts;
    Indexer indexer(world.settings, texts);
    indexer.setFolders({world.path()});
    std::mt19937 random(seed);
    for (;;) {
        const std::string name = "c" + std::to_string(random() % 4) + "/g" + std::to_string(random() % 80) + ".txt";
        if (random() % 4 == 0)
            unlink((world.path() + '/' + name).c_str());
        else
            world.put(name, "xylokarte etat" + std::to_string(random() % 10));
        usleep(random() % 2000);
    }
}

TEST_F(CrashTest, killedAtAnyMomentItLosesNothingAndIsNotMadeAnew) {
    world.close();
    std::mt19937 random(9);
    for (unsigned round = 0; round < 20; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            churn(world, round);
        usleep(50000 + random() % 250000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        PlainTextSource texts;
        Indexer indexer(world.settings, texts);
        indexer.setFolders({world.path()});
        ASSERT_TRUE(vennic::test::waitUntil([&] { return indexer.status().ready; })) << round;
        EXPECT_EQ(indexer.indexGeneration(), 0) << "made anew in round " << round;
        Searcher searcher(world.settings.directory, texts);
        for (int state = 0; state < 10; ++state) {
            const std::string word = "etat" + std::to_string(state);
            std::set<std::string> expected;
            for (const auto& file : fs::recursive_directory_iterator(world.path())) {
                std::string text;
                std::getline(std::ifstream(file.path()), text, '\0');
                if (file.is_regular_file() && text.ends_with(word))
                    expected.insert(file.path().string());
            }
            std::set<std::string> found;
            const std::atomic<bool> stop = false;
            searcher.run({{'*' + word + '*'}, {{0}}, {world.path()}, {world.path()}, 1000}, indexer.folderGeneration(),
                         stop, [&](SearchHit hit) { found.insert(hit.path); });
            ASSERT_EQ(found, expected) << word << " in round " << round;
        }
    }
}

TEST_F(CrashTest, aCatalogueCutAnywhereIsMadeAnew) {
    fill();
    const fs::path whole = world.base() + "/whole.db";
    const fs::path catalogue = world.store() + "/catalog.db";
    fs::copy_file(catalogue, whole);
    const auto size = fs::file_size(whole);
    for (std::uintmax_t cut : {std::uintmax_t{0}, std::uintmax_t{1}, std::uintmax_t{99}, std::uintmax_t{512}, size / 3,
                               size / 2, size / 4096 / 2 * 4096, size - 4096, size - 1}) {
        fs::copy_file(whole, catalogue, fs::copy_options::overwrite_existing);
        fs::resize_file(catalogue, cut);
        expectWhole("cut at " + std::to_string(cut));
    }
    std::ofstream(catalogue, std::ios::binary | std::ios::trunc) << std::string(8192, 'x');
    expectWhole("garbage");
}

TEST_F(CrashTest, aDamagedOrMissingSegmentIsMadeAnew) {
    fill();
    for (const bool missing : {false, true}) {
        const auto segments = storeFiles(".seg");
        ASSERT_FALSE(segments.empty());
        if (missing)
            fs::remove(segments.front());
        else
            fs::resize_file(segments.front(), fs::file_size(segments.front()) / 2);
        expectWhole(missing ? "missing" : "cut");
    }
    const auto segments = storeFiles(".seg");
    std::fstream file(segments.front(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(fs::file_size(segments.front()) / 2));
    file << "damage";
    file.close();
    world.reopen(); // opens well: only the full reading in the background tells
    world.share();
    EXPECT_TRUE(vennic::test::waitUntil(
        [&] { return !fs::exists(segments.front()) || world.find(s("kwartzite")).size() == 60; }));
    world.close();
    expectWhole("changed");
}

TEST_F(CrashTest, anotherVersionIsMadeAnewAndStraySegmentsGo) {
    fill();
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((world.store() + "/catalog.db").c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "PRAGMA user_version=99", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    std::ofstream(world.store() + "/12345.seg") << "stray";
    expectWhole("version");
    EXPECT_FALSE(fs::exists(world.store() + "/12345.seg"));
}

TEST_F(CrashTest, anIndexThatAnotherProcessHasIsLeftAlone) {
    fill();
    world.reopen();
    world.share();
    world.settle();
    PlainTextSource texts;
    Indexer second(world.settings, texts);
    EXPECT_TRUE(vennic::test::waitUntil([&] { return second.status().inUse; }));
    EXPECT_FALSE(second.waitUntilOpen(std::chrono::seconds(10)));
    EXPECT_EQ(world.find(s("kwartzite")).size(), 60);
}

TEST_F(CrashTest, aPlaceThatCannotBeWrittenIsAProblemAndNoMore) {
    world.settings.directory = "/proc/vennic/index";
    world.reopen();
    world.share();
    EXPECT_TRUE(vennic::test::waitUntil([&] { return !world.index().status().problem.isEmpty(); }));
    EXPECT_EQ(world.find(s("kwartzite")), QStringList());
}

} // namespace
