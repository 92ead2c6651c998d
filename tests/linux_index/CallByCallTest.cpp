// The index is killed, or refused room, at each single call by which it changes its files.
#include "linux_index/IndexedFolder.h"
#include "support/SupervisedCalls.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/mman.h>

namespace {

using namespace vennic;
using namespace vennic::index;
using vennic::index::test::IndexedFolder;
using vennic::index::test::PlainTextSource;
using vennic::test::FileCall;
using vennic::test::runSupervised;
using vennic::test::Verdict;
namespace fs = std::filesystem;

/// Small enough that pending words, segments and merges all come up.
constexpr StoreLimits narrow{4, 10, 1 << 20, 3, 1 << 20};

/// A number that a process and its children share.
class Shared {
public:
    Shared()
        : value_(static_cast<std::atomic<int>*>(
              mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
        new (value_) std::atomic<int>(0);
    }
    ~Shared() { munmap(value_, sizeof(std::atomic<int>)); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    std::atomic<int>& operator*() { return *value_; }

private:
    std::atomic<int>* value_;
};

Verdict killAt(std::size_t number, const FileCall& call) {
    if (call.number == number)
        return Verdict::kill;
    // A killed program leaves what it has written, synchronised or not: the disk need not be waited for.
    return call.kind == FileCall::Kind::synchronise ? Verdict::skip : Verdict::proceed;
}

class CallByCallTest : public ::testing::Test {
protected:
    CallByCallTest() {
        world.close();
        makeAnew();
    }
    void makeAnew() {
        fs::remove_all(world.store());
        fs::create_directories(world.store());
    }
    static void tendAll(IndexStore& store) {
        while (store.tend(std::chrono::steady_clock::now() + std::chrono::seconds(1)) || store.tidy()) {
        }
        store.truncateLog();
    }
    static void add(IndexStore& store, std::uint32_t folder, const std::string& name, const std::string& text) {
        Entry entry;
        entry.folder = folder;
        entry.name = name;
        entry.text = TextState::indexed;
        store.add(entry, text);
    }
    static std::uint32_t root(IndexStore& store, const std::string& path) {
        if (const auto known = store.catalogue().child(0, path))
            return *known;
        store.begin();
        return store.catalogue().addFolder(0, path);
    }
    std::set<std::string> found(const std::string& word) {
        Searcher searcher(world.store(), world.texts);
        std::set<std::string> names;
        const std::atomic<bool> stop = false;
        searcher.run({{'*' + word + '*'}, {{0}}, {world.path(), secret()}, {world.path(), secret()}, 1000}, 0, stop,
                     [&](const SearchHit& hit) { names.insert(hit.entry.name); });
        return names;
    }
    std::string secret() const { return world.base() + "/secret"; }
    IndexedFolder world;
};

constexpr int batches = 8;

std::string nameIn(int batch, int document) {
    return "b" + std::to_string(batch) + "-" + std::to_string(document) + ".txt";
}

/// Of some batches pending words are made, of others segments.
int documentsIn(int batch) { return batch % 3 == 0 ? 6 : 2; }

TEST_F(CallByCallTest, whatWasCommittedIsFoundAfterAKillAtAnyCallAndABatchIsInWholeOrNotAtAll) {
    Shared committed;
    for (std::size_t at = 1;; ++at) {
        makeAnew();
        *committed = 0;
        const auto end = runSupervised(
            world.store(),
            [&] {
                IndexStore store(world.store(), narrow);
                const std::uint32_t folder = root(store, world.path());
                for (int batch = 1; batch <= batches; ++batch) {
                    for (int document = 0; document < documentsIn(batch); ++document)
                        add(store, folder, nameIn(batch, document), "lot" + std::to_string(batch) + "x");
                    store.commit();
                    *committed = batch;
                    tendAll(store);
                }
                return 0;
            },
            [at](const FileCall& call) { return killAt(at, call); });
        const int lasting = *committed;
        if (!end.killed) {
            ASSERT_EQ(end.exitCode, 0);
            EXPECT_GT(at, 100U); // there was something to interrupt
            EXPECT_EQ(lasting, batches);
            return;
        }
        IndexStore store(world.store(), narrow); // raises if it isn't sound
        while (store.verifyNext()) {
        }
        for (int batch = 1; batch <= batches; ++batch) {
            const std::size_t names = found("lot" + std::to_string(batch) + "x").size();
            const auto whole = static_cast<std::size_t>(documentsIn(batch));
            if (batch <= lasting)
                ASSERT_EQ(names, whole) << "batch " << batch << " killed at call " << at;
            else
                ASSERT_TRUE(names == 0 || (names == whole && batch == lasting + 1))
                    << "batch " << batch << " of " << lasting << " killed at call " << at;
        }
    }
}

TEST_F(CallByCallTest, noSegmentIsDeletedBeforeTheCatalogueThatForgetsItOutlivesALossOfPower) {
    int deleted = 0;
    bool lasting = true; // the write-ahead log is on the disk as far as it is written
    Shared merged;
    const auto end = runSupervised(
        world.store(),
        [&] {
            IndexStore store(world.store(), narrow);
            const std::uint32_t folder = root(store, world.path());
            for (int batch = 1; batch <= batches; ++batch) {
                for (int document = 0; document < 6; ++document)
                    add(store, folder, nameIn(batch, document), "lot");
                store.commit();
                tendAll(store);
            }
            return 0;
        },
        [&](const FileCall& call) {
            const bool log = call.path.ends_with("catalog.db-wal");
            if (log && call.kind != FileCall::Kind::remove)
                lasting = call.kind == FileCall::Kind::synchronise || call.kind == FileCall::Kind::truncate;
            if (call.kind == FileCall::Kind::remove && call.path.ends_with(".seg") && fs::exists(call.path)) {
                ++deleted;
                *merged = lasting ? deleted : -1000;
            }
            return Verdict::proceed;
        });
    EXPECT_EQ(end.exitCode, 0);
    EXPECT_GT(*merged, 5); // that many inputs of merges were deleted, each in time
}

TEST_F(CallByCallTest, aKillWhileAWithdrawnFolderIsPurgedLeavesNoWordOfItAfterTheNextStart) {
    {
        IndexStore store(world.store(), narrow);
        const std::uint32_t kept = root(store, world.path());
        const std::uint32_t withdrawn = root(store, secret());
        for (int batch = 1; batch <= 4; ++batch) {
            for (int document = 0; document < 3; ++document) {
                add(store, kept, nameIn(batch, document), "kwartzite");
                add(store, withdrawn, "s" + nameIn(batch, document), "xylokarte");
            }
            store.commit();
        }
        tendAll(store);
        add(store, withdrawn, "tard.txt", "xylokarte"); // stays among the pending words
        store.commit();
        store.truncateLog();
    }
    const fs::path whole = world.base() + "/whole";
    fs::copy(world.store(), whole);
    const auto holding = [&] {
        std::string files;
        for (const auto& file : fs::directory_iterator(world.store())) {
            std::ostringstream content;
            content << std::ifstream(file.path(), std::ios::binary).rdbuf();
            if (content.str().find("xylokarte") != std::string::npos)
                files += file.path().filename().string() + ' ';
        }
        return files;
    };
    Shared withdrawn;
    for (std::size_t at = 1;; ++at) {
        fs::remove_all(world.store());
        fs::copy(whole, world.store());
        *withdrawn = 0;
        const auto end = runSupervised(
            world.store(),
            [&] {
                IndexStore store(world.store(), narrow);
                store.withdraw(root(store, secret()));
                store.commit();
                *withdrawn = 1;
                tendAll(store);
                return store.purging() ? 1 : 0;
            },
            [at](const FileCall& call) { return killAt(at, call); });
        if (*withdrawn)
            ASSERT_TRUE(found("xylokarte").empty()) << "killed at call " << at;
        {
            IndexStore store(world.store(), narrow);
            if (const auto still = store.catalogue().child(0, secret())) { // not withdrawn yet: as at the next start
                ASSERT_FALSE(*withdrawn) << "killed at call " << at;
                store.withdraw(*still);
                store.commit();
            }
            tendAll(store);
            ASSERT_FALSE(store.purging()) << "killed at call " << at;
        }
        ASSERT_EQ(holding(), "") << "killed at call " << at;
        ASSERT_EQ(found("kwartzite").size(), 12U) << "killed at call " << at;
        if (!end.killed) {
            ASSERT_EQ(end.exitCode, 0);
            EXPECT_GT(at, 30U);
            return;
        }
    }
}

TEST_F(CallByCallTest, aDiskThatFillsUpAtAnyCallIsSaidAndCostsNothingOnceThereIsRoom) {
    for (int i = 0; i < 40; ++i)
        world.put("f" + std::to_string(i) + ".txt", "kwartzite" + std::to_string(i));
    world.settings.limits = narrow;
    world.settings.repeatInterval = std::chrono::milliseconds(5);
    constexpr auto patience = std::chrono::seconds(60);
    enum End { good, ready, noProblem, neverWhole, anew, notFound };
    std::size_t atOpen = 0;
    std::size_t later = 0;
    for (std::size_t at = 1; at < 400; at = at < 12 ? at + 1 : at + 7) {
        makeAnew();
        Shared room;
        const auto end = runSupervised(
            world.store(),
            [&]() -> int {
                PlainTextSource texts;
                Indexer indexer(world.settings, texts);
                indexer.setFolders({world.path()});
                const auto until = std::chrono::steady_clock::now() + patience;
                const auto reaches = [&](const auto& condition) {
                    while (!condition() && std::chrono::steady_clock::now() < until)
                        usleep(500);
                    return condition();
                };
                // Whatever is changed until then needs room.
                reaches([&] { return indexer.status().fault == ENOSPC || indexer.status().ready; });
                if (indexer.status().fault != ENOSPC)
                    return indexer.status().ready ? ready : noProblem;
                *room = 1;
                if (!reaches([&] { return indexer.status().ready; }))
                    return neverWhole;
                if (indexer.indexGeneration() != 0)
                    return anew;
                Searcher searcher(world.settings.directory, texts);
                int hits = 0;
                const std::atomic<bool> stop = false;
                searcher.run({{"*kwartzite*"}, {{0}}, {world.path()}, {world.path()}, 1000}, indexer.folderGeneration(),
                             stop, [&](const SearchHit&) { ++hits; });
                return hits == 40 ? good : notFound;
            },
            [&, at](const FileCall& call) {
                const bool needsRoom = call.kind == FileCall::Kind::write;
                return needsRoom && call.number >= at && !*room ? Verdict::noSpace : Verdict::proceed;
            });
        if (end.exitCode == ready)
            break; // so many calls aren't made
        ASSERT_EQ(end.exitCode, good) << "no room from call " << at;
        (at < 10 ? atOpen : later) += 1;
    }
    EXPECT_GT(atOpen, 5U);
    EXPECT_GT(later, 5U);
}

} // namespace
