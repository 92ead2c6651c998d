#pragma once
#include "linux/index/Catalogue.h"
#include "linux/index/MemorySegment.h"
#include "linux/index/SegmentMerge.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::index {

/// When the index on disk changes its shape.
struct StoreLimits {
    std::size_t smallBatch = 256;    // documents; fewer go to the pending words
    std::int64_t mostPending = 1000; // documents, until the pending words become a segment
    std::int64_t mostPendingBytes = 4 << 20;
    std::size_t fan = 8;                 // segments of like size that are merged into one
    std::size_t largestBatch = 44 << 20; // bytes of memory
};

/// The index on disk as its one writer sees it: the catalogue and the segments. Changes gather in a batch that
/// becomes visible and lasting with `commit`, whole or not at all. Raises DamagedIndex, DatabaseError and
/// std::system_error; after any of them the batch is lost and `rollback` is due.
class IndexStore {
public:
    /// Opens or makes the index in a folder that exists. A settled index is opened without reading it.
    explicit IndexStore(std::string directory, StoreLimits limits = {});
    /// Deletes every file of an index.
    static void erase(const std::string& directory);

    Catalogue& catalogue() { return catalogue_; }

    /// Adds an entry, searchable by its name and by `text`; gives it its identifier.
    void add(Entry& entry, std::string_view text = {});
    /// Keeps the text of the last entry added, for checks.
    void keepText(const Entry& entry, std::string_view text);
    void remove(const Entry& entry);
    void setText(Entry& entry, TextState state);
    /// Forgets a folder and all below it, with every file. The folders' identifiers are given back.
    std::vector<std::uint32_t> removeTree(std::uint32_t folder);
    /// Like `removeTree`, and soon after not a word of them is on disk.
    std::vector<std::uint32_t> withdraw(std::uint32_t folder);

    /// Opens the batch if it isn't; every change above needs it.
    void begin();
    void commit();
    void rollback();
    /// The batch is as large as memory allows.
    bool full() const { return memory_.bytes() > limits_.largestBatch; }
    bool changing() const { return catalogue_.writing(); }

    /// Merges and rewrites in the background, until `end`; false when there is nothing to do.
    bool tend(std::chrono::steady_clock::time_point end);
    /// Once everything is in: leaves few large segments after a bulk of changes. False when there is nothing to do.
    bool tidy();
    /// Words of a withdrawn folder are still on disk.
    bool purging() const { return purging_; }
    /// Deleted words may linger in the write-ahead log until a reader has ended.
    bool logLingers() const { return logLingers_; }
    void truncateLog();
    /// Reads a part of the index that hasn't been read since it was opened; false when all was. Raises DamagedIndex.
    bool verifyNext();

    std::int64_t files() const { return files_; }
    std::int64_t waiting() const { return waiting_; }
    std::int64_t bytesOnDisk() const;

private:
    std::string pathOf(const std::string& segment) const { return directory_ + '/' + segment; }
    void count();
    void flushPending();
    void chooseMerge(std::size_t fan);
    void findWorn();
    void startMerge(const std::vector<Catalogue::SegmentRow>& inputs);
    void finishMerge();

    std::string directory_;
    StoreLimits limits_;
    Catalogue catalogue_;
    MemorySegment memory_;
    std::int64_t files_ = 0, waiting_ = 0;
    std::int64_t pending_ = 0, pendingBytes_ = 0;
    std::int64_t removed_ = 0; // since segments were last looked through for removed documents
    std::vector<std::string> worn_, unverified_;
    bool catalogueUnverified_ = true;
    bool segmentsChanged_ = true;
    bool untidy_ = false; // a bulk has left segments behind
    bool logLingers_ = false;
    bool scrubDue_ = false;
    bool purging_ = false;
    std::string mergeName_;
    std::vector<std::string> mergeInputs_;
    std::unique_ptr<SegmentMerge> merge_;
};

} // namespace vennic::index
