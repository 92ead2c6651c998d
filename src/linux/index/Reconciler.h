#pragma once
#include "linux/index/DiskFolder.h"
#include "linux/index/IndexStore.h"
#include "linux/index/TextSource.h"
#include "linux/index/Watches.h"

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vennic::index {

/// Brings the catalogue in line with the disk, one folder or one entry at a time. Doesn't know when.
class Reconciler {
public:
    Reconciler(IndexStore& store, Watches& watches, TextSource& texts);

    struct Subfolder {
        FolderRow row;
        bool fresh = false; // not known before
    };
    /// Watches an open folder, then lists it and applies what differs. Gives its subfolders.
    std::vector<Subfolder> syncFolder(std::uint32_t folder, int open);
    /// Forgets what is in a folder that can't be read.
    void empty(std::uint32_t folder);

    struct Look {
        bool textDue = false;                // its text should be read when it has settled
        std::optional<std::uint32_t> toWalk; // a folder whose content isn't known
    };
    /// Applies what differs in one entry; a changed text waits for `readText`.
    Look syncEntry(std::uint32_t folder, const std::string& name);
    /// Reads the text of an entry whose state is waiting, or that differs from the disk.
    void readText(std::uint32_t folder, const std::string& name);
    void readText(const Entry& known);
    /// A folder has a new name or place, with all that is in it. False when it isn't known.
    bool moveFolder(std::uint32_t from, const std::string& oldName, std::uint32_t to, const std::string& newName);
    void forget(const std::vector<std::uint32_t>& folders);

    /// Root folders, by path, that a walk will meet within another one.
    std::unordered_map<std::string, std::uint32_t> adoptable;

    /// Folders whose changes nobody tells, with the time of their last look.
    const std::unordered_map<std::uint32_t, std::int64_t>& unwatched() const { return unwatched_; }
    bool watchLimited() const { return watchLimited_; }
    void beginFullWalk() { watchLimited_ = false; }
    /// Whether documents can be read now; after repeated failures of the reader there is a pause.
    bool readerAnswers() const { return std::chrono::steady_clock::now() >= pausedUntil_; }
    std::chrono::steady_clock::time_point pausedUntil() const { return pausedUntil_; }

private:
    void watch(std::uint32_t folder, int open);
    TextState expectedText(const Entry& entry) const;
    void addNew(Entry found);
    void applyChange(Entry known, Entry found);
    void removeEntry(const Entry& known);
    std::uint32_t addSubfolder(std::uint32_t parent, const std::string& name);
    void readerFailed(const Entry& entry);

    IndexStore& store_;
    Watches& watches_;
    TextSource& texts_;
    std::unordered_map<std::uint32_t, std::int64_t> unwatched_;
    bool watchLimited_ = false;
    std::vector<Entry> suspects_; // documents in a row that the reader failed on
    std::chrono::steady_clock::time_point pausedUntil_{};
};

} // namespace vennic::index
