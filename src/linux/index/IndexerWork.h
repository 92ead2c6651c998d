#pragma once
#include "linux/index/Indexer.h"

namespace vennic::index {

/// The open index of an indexer with everything that works on it.
struct Indexer::Work {
    Work(const IndexerSettings& settings, TextSource& texts)
        : store(settings.directory, settings.limits), watches(settings.watchBudget),
          reconciler(store, watches, texts, settings.reconciler), walk(store, reconciler) {}

    IndexStore store;
    Watches watches;
    Reconciler reconciler;
    FolderWalk walk;
    DirtySet dirty;
    std::vector<std::uint32_t> roots;                       // that the user granted, as of the last command
    std::unordered_map<std::uint32_t, DirtySet::Key> moves; // first halves of folder moves, by cookie
    bool fullWalkDue = true;
    bool fullWalkRunning = false;
    bool walkedOnce = false;        // a full walk has ended
    int incompleteInRow = 0;        // full walks that couldn't look at everything
    bool urgent = false;            // the batch holds changes that someone may be waiting for
    std::int64_t folderChanges = 0; // as last told to readers
    std::size_t unwatchedCursor = 0;
    std::chrono::nanoseconds batchBegan{};
    Moment nextRescan = Moment::max();
    Moment lostRootsDue = Moment::max(); // when roots that are not there are looked for again
    Moment repeatDue = Moment::max();    // when a full walk is repeated that couldn't look at everything
    Moment lastPublished{};
};

} // namespace vennic::index
