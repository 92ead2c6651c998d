#pragma once
#include "linux/index/Database.h"
#include "linux/index/SegmentWriter.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vennic::index {

enum class EntryKind : std::uint8_t { file, folder, other }; // other: links, pipes, devices; never opened

enum class TextState : std::uint8_t {
    none,    // nothing to read
    waiting, // to be read
    indexed, // its words are in
    refused, // can't be read; not tried again until it changes
};

/// One entry on disk and in the catalogue. An identifier is never given twice: what changes gets a new one.
struct Entry {
    std::uint32_t id = 0;
    std::uint32_t folder = 0;
    std::string name;          // bytes
    std::int64_t modified = 0; // nanoseconds since 1970
    std::int64_t changed = 0;  // of the inode, nanoseconds since 1970
    std::int64_t size = 0;
    EntryKind kind = EntryKind::file;
    TextState text = TextState::none;
    int failures = 0;         // of reading its text in vain, where the fault may be its own
    std::int64_t retryAt = 0; // milliseconds since 1970: not read before

    bool sameOnDisk(const Entry& other) const {
        return modified == other.modified && changed == other.changed && size == other.size && kind == other.kind;
    }
    DocumentFacts facts() const { return {id, folder, modified / 1'000'000}; }
};

/// The longest wait of a document that was read in vain before it is read again, in milliseconds.
constexpr std::int64_t longestRetry = 24LL * 3600 * 1000;

struct FolderRow {
    std::uint32_t id = 0;
    std::uint32_t parent = 0; // 0: a root, whose name is its absolute path
    std::string name;
};

/// The tables of the index. All changes happen between `begin` and `commit`, on the indexer's thread.
class Catalogue {
public:
    /// Opens or makes the catalogue. Raises DatabaseError, and DamagedIndex for another version.
    explicit Catalogue(const std::string& path);

    /// A program that is killed loses nothing that was committed; what is also to outlive a loss of power before the
    /// disk is written in due course is `lasting`.
    void begin(bool lasting = false);
    void commit(); // keeps the next identifier too
    void rollback();
    bool writing() const { return writing_; }

    std::optional<FolderRow> folder(std::uint32_t id);
    std::optional<std::uint32_t> child(std::uint32_t parent, std::string_view name);
    std::vector<FolderRow> children(std::uint32_t parent);
    /// A folder and all below it.
    std::vector<std::uint32_t> tree(std::uint32_t id);
    std::uint32_t addFolder(std::uint32_t parent, std::string_view name);
    void moveFolder(std::uint32_t id, std::uint32_t parent, std::string_view name);
    /// Forgets one folder with all files in it. Gives how many there were.
    std::int64_t removeFolder(std::uint32_t id);
    /// Components from the root's absolute path on; empty when the folder isn't known.
    std::vector<std::string> components(std::uint32_t folder);

    std::vector<Entry> entries(std::uint32_t folder);
    std::optional<Entry> entry(std::uint32_t folder, std::string_view name);
    bool exists(std::uint32_t id);
    /// Gives `entry` a new identifier and adds it.
    void add(Entry& entry);
    void remove(std::uint32_t id);
    void setText(std::uint32_t id, TextState state);
    /// Those that may be read at `now`, in milliseconds since 1970; newest first. No wait is longer than
    /// `longestRetry`, even if the clock has been set back.
    std::vector<Entry> waiting(int limit, std::int64_t now);
    /// When the first of those that wait may be read, in milliseconds since 1970.
    std::int64_t nextRetry();
    std::int64_t count();
    std::int64_t countWaiting();
    /// Calls `found` with each identifier in use between two, ascending.
    void identifiers(std::uint32_t from, std::uint32_t to, const std::function<void(std::uint32_t)>& found);

    void addPending(std::uint32_t id, std::string_view words);
    /// Calls `found` with each pending document and its words.
    void pending(const std::function<void(const DocumentFacts&, std::string_view)>& found);
    void clearPending();
    /// Compressed text, kept for formats that are costly to read.
    void keepText(std::uint32_t id, std::string_view compressed);

    struct SegmentRow {
        std::string name;
        std::int64_t bytes = 0;
        bool purge = false; // holds words of a withdrawn folder
    };
    std::vector<SegmentRow> segments();
    void addSegment(const std::string& name, std::int64_t bytes);
    void removeSegment(const std::string& name);
    void markForPurge(const std::string& name);
    /// A name that no segment in the catalogue ever had. Kept by the next commit.
    std::string newSegmentName() { return std::to_string(nextSegment_++) + ".seg"; }

    /// Rewrites the catalogue so that no trace of deleted rows is left in it; asked for within a batch, done outside.
    void askForScrub();
    bool scrubDue() const;
    void scrub();
    /// Empties the write-ahead log, so that nothing deleted lingers there; false when a reader prevents it.
    bool truncateLog();
    bool sound();
    std::int64_t changesOfFolders() const { return folderChanges_; }
    Database& database() { return database_; }

private:
    Entry readEntry(const Statement& row) const;

    Database database_;
    Statement begin_, commit_, rollback_, keepNext_;
    Statement folder_, child_, children_, tree_, addFolder_, moveFolder_, removeFolder_, removeFiles_, removePending_,
        removeTexts_;
    Statement entries_, entry_, exists_, add_, remove_, removeOnePending_, removeOneText_, setText_, waiting_,
        identifiers_, addPending_, pending_, keepText_;
    std::uint32_t nextId_ = 1;
    std::int64_t nextSegment_ = 1;
    std::int64_t folderChanges_ = 0;
    bool writing_ = false;
    bool lasting_ = false;
};

} // namespace vennic::index
