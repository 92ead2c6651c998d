#pragma once
#include "linux/index/DirtySet.h"
#include "linux/index/FolderWalk.h"
#include "linux/index/IndexStore.h"
#include "linux/index/Reconciler.h"
#include "linux/index/Watches.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace vennic::index {

struct IndexerSettings {
    std::string directory;                                    // of the index, made with mode 0700
    std::size_t watchBudget = 0;                              // 0: half of what the system allows
    std::chrono::milliseconds rescanInterval{20 * 60 * 1000}; // where changes aren't told
    std::chrono::milliseconds lostRootInterval{10 * 1000};    // between looks for a folder that isn't there
    /// Until another try after a failure of the surroundings (a full disk, no descriptors left); doubled each time.
    std::chrono::milliseconds repeatInterval{5 * 1000};
    ReconcilerSettings reconciler;
    StoreLimits limits;
};

/// How far the indexer is.
struct IndexerStatus {
    std::int64_t files = 0, waiting = 0, bytes = 0;
    bool ready = false, watchLimited = false;
    bool remote = false; // some folders lie where changes aren't told
    int fault = 0;       // errno of what keeps it from working, 0 when all is well
    bool inUse = false;  // another process has the index
};

/// Keeps the index in line with the disk on one idle-priority thread, which sleeps until something happens. Its
/// operations may be called from any thread.
class Indexer {
public:
    Indexer(IndexerSettings settings, TextSource& texts);
    ~Indexer();
    Indexer(const Indexer&) = delete;
    Indexer& operator=(const Indexer&) = delete;

    /// Absolute paths.
    void setFolders(std::vector<std::string> folders);
    std::vector<std::string> folders() const;
    IndexerStatus status() const;

    /// Waits until the index can be read, for at most `limit`; false when it can't or the indexer ends.
    bool waitUntilOpen(std::chrono::milliseconds limit);
    /// Whether all that is to be had of the folders is in, but for changes since.
    bool complete() const { return complete_; }
    /// Looks at the folders that nobody watches, for at most `limit`.
    void refreshUnwatched(std::chrono::milliseconds limit);
    /// A reader has met damage.
    void reportDamage();
    /// Changes when folders are made, moved or removed.
    std::int64_t folderGeneration() const { return folderGeneration_; }
    /// Changes when the index has been made anew.
    std::int64_t indexGeneration() const { return indexGeneration_; }

private:
    using Moment = std::chrono::steady_clock::time_point;
    struct Work; // what lives as long as the index is open

    void run();
    void open();
    void cycle();
    void takeCommands();
    void applyFolders(const std::vector<std::string>& folders);
    void takeChanges();
    void takeChange(const Change& change);
    void settleDirty();
    void dropWatch(const DirtySet::Key& entry);
    void refreshFolderEntries(const std::vector<std::uint32_t>& folders);
    /// The granted folders that are not there.
    std::vector<std::uint32_t> lostRoots() const;
    void lookForLostRoots();
    bool readWaiting(Moment end);
    void lookAtUnwatched(Moment end);
    void fullWalk();
    void repeatIncomplete(Moment now);
    void commit();
    void publish(bool ready);
    void sleep(bool busy);
    void wake() const;
    void fail(int fault);
    bool stopped() const { return stop_; }

    const IndexerSettings settings_;
    TextSource& texts_;
    const FileDescriptor wake_;
    FileDescriptor lock_;
    std::unique_ptr<Work> work_;
    int faultsInRow_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable opened_, refreshed_;
    std::vector<std::string> folders_;
    bool foldersSet_ = false;   // since the indexer last looked
    bool foldersKnown_ = false; // set at least once: until then nothing is removed
    IndexerStatus status_;
    bool open_ = false;
    bool refreshAsked_ = false;
    std::atomic<bool> stop_ = false;
    std::atomic<bool> complete_ = false;
    std::atomic<bool> damaged_ = false;
    std::atomic<std::int64_t> folderGeneration_ = 0;
    std::atomic<std::int64_t> indexGeneration_ = 0;
    std::thread thread_;
};

} // namespace vennic::index
