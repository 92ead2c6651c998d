#pragma once
#include "linux/index/DiskFolder.h"
#include "linux/index/IndexStore.h"
#include "linux/index/TextSource.h"
#include "linux/index/Watches.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vennic::index {

struct ReconcilerSettings {
    /// Until a document is read again that was read in vain, and until a reader that couldn't be had is asked again.
    /// Each further wait is four times as long.
    std::chrono::milliseconds firstRetry{1000};
    /// In how much time a file may change twice without a change of its times. A text read so soon after a change is
    /// read again at the next look.
    std::chrono::milliseconds tick{50};
    std::chrono::milliseconds coarseTick{2100}; // where only whole seconds are kept
    std::function<Volume(int folder)> volumeOf = index::volumeOf;
};

/// Brings the catalogue in line with the disk, one folder or one entry at a time. Doesn't know when.
class Reconciler {
public:
    Reconciler(IndexStore& store, Watches& watches, TextSource& texts, ReconcilerSettings settings = {});

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
    /// Some folders lie on volumes that others may change without a word.
    bool remote() const { return remote_; }
    void beginFullWalk() { watchLimited_ = remote_ = incomplete_ = false; }
    /// Something couldn't be looked at for a reason that isn't its own: it is as it was in the catalogue until another
    /// full walk.
    bool incomplete() const { return incomplete_; }
    void setIncomplete() { incomplete_ = true; }
    /// Whether documents can be read now; after failures of the reader there is a pause.
    bool readerAnswers() const { return std::chrono::steady_clock::now() >= pausedUntil_; }
    std::chrono::steady_clock::time_point pausedUntil() const { return pausedUntil_; }

private:
    void watch(std::uint32_t folder, int open);
    TextState expectedText(const Entry& entry) const;
    void addNew(Entry found);
    void applyChange(Entry known, Entry found);
    void removeEntry(const Entry& known);
    std::uint32_t addSubfolder(std::uint32_t parent, const std::string& name);
    /// A document's file couldn't be opened.
    void notOpened(const Entry& known, int folder, int error);
    void replace(const Entry& known, Entry found, TextState text, std::string_view words = {});
    /// Reading failed: the document waits longer each time, until it has failed `most` times.
    void readInVain(const Entry& known, Entry found, int most);
    /// Reading says nothing of the document: it was being changed.
    void readLater(const Entry& known, Entry found);
    void pauseReader();
    std::chrono::milliseconds tickOf(const Entry& entry) const;

    IndexStore& store_;
    Watches& watches_;
    TextSource& texts_;
    std::unordered_map<std::uint32_t, std::int64_t> unwatched_;
    const ReconcilerSettings settings_;
    bool watchLimited_ = false, remote_ = false, incomplete_ = false;
    int pausesInRow_ = 0;
    std::chrono::steady_clock::time_point pausedUntil_{};
};

} // namespace vennic::index
