#pragma once
#include "linux/index/DiskFolder.h"
#include "linux/index/Watches.h"
#include "linux/photos/PhotoCatalogue.h"
#include "linux/photos/PhotoFactsReader.h"
#include "ports/FileTypes.h"

#include <deque>
#include <functional>
#include <unordered_set>

namespace vennic::photos {

/// Brings the catalogue in line with the disk, one folder at a time, and decides which file is which photo. Doesn't
/// know when.
///
/// What the folders show is gathered first: files that weren't there and photos that are no longer where they were.
/// `settle` then joins the two. A file is the photo that it was, wherever it stands now; a new file in the place of one
/// that has gone is the same photo, edited, if it says the same of when it was taken.
class PhotoSync {
public:
    using Facts = std::function<PhotoFactsReader::Result(int file)>;
    using Taken = std::function<std::int64_t(const PhotoFacts&)>;

    /// `facts` reads an open file, `taken` tells the moment in them.
    PhotoSync(PhotoCatalogue& catalogue, index::Watches& watches, const FileTypes& types, Facts facts, Taken taken);

    enum class Depth { fresh, all }; // of what lies below: what isn't known yet, or everything
    /// Has `step` look at a folder.
    void push(std::uint32_t folder, Depth depth) { queue_.push_back({folder, depth}); }
    /// A root that isn't followed any more: what the walk doesn't meet again has gone.
    void abandon(std::uint32_t root) { leaveTree(root); }
    /// Whether a change may be one of photos or of folders.
    bool concerns(const index::Change& change) const;
    bool active() const { return !queue_.empty() || unsettled(); }
    /// Looks at one folder, or settles when all have been looked at.
    void step(std::int64_t now);
    /// Gives up what was begun.
    void clear();

    /// Reads the facts of the newest file that waits. None when nothing waits; `failed` when the reader seems unable to
    /// read anything, `ended` when it has been ended.
    std::optional<PhotoFactsReader::Outcome> readNewest(std::int64_t now);

    /// Folders whose changes nobody tells.
    const std::unordered_set<std::uint32_t>& unwatched() const { return unwatched_; }
    bool watchLimited() const { return watchLimited_; }
    void beginFullWalk() { watchLimited_ = false; }
    /// The root that could not be opened at the last look; 0 when it could.
    std::uint32_t lostRoot() const { return lostRoot_; }

private:
    struct Place {
        std::uint32_t folder = 0;
        std::string name;
    };
    struct OpenFolder {
        std::uint32_t id = 0;
        FileDescriptor descriptor;
        std::uint64_t volume = 0;
    };
    bool unsettled() const { return !arrivals_.empty() || !missing_.empty() || !goneFolders_.empty(); }
    void lookAt(std::uint32_t folder, Depth depth);
    void watch(std::uint32_t folder, int open);
    void compareFiles(std::uint32_t folder, const index::Listing& listed);
    void compareFolders(std::uint32_t folder, const index::Listing& listed, Depth depth);
    void leave(std::uint32_t folder);
    void leaveTree(std::uint32_t folder);

    void settle(std::int64_t now);
    bool stays(const Place& place);
    bool recognise(const Place& place);
    void makeRoom(const Place& place);
    void receive(const Place& place, std::int64_t now);
    bool stillStands(const PhotoRow& row);
    bool isEdit(const PhotoRow& known, const FileOnDisk& disk, PhotoFactsReader::Result& read);
    void move(PhotoRow row, const Place& place, const FileOnDisk& disk);
    void arrive(const Place& place, const FileOnDisk& disk, const PhotoFactsReader::Result* read);
    void keepFacts(std::int64_t id, const PhotoFactsReader::Result& read);
    PhotoFactsReader::Outcome blame(std::int64_t id);

    const OpenFolder& opened(std::uint32_t folder);
    std::optional<FileOnDisk> onDisk(const Place& place);

    PhotoCatalogue& catalogue_;
    index::Watches& watches_;
    const FileTypes& types_;
    Facts facts_;
    Taken taken_;
    std::deque<std::pair<std::uint32_t, Depth>> queue_;
    std::vector<Place> arrivals_;
    std::unordered_set<std::int64_t> missing_; // photos that aren't where they were
    std::unordered_set<std::uint32_t> goneFolders_;
    std::unordered_set<std::uint32_t> unwatched_;
    OpenFolder open_;                    // the last one that was needed
    std::vector<std::int64_t> suspects_; // photos in a row that the reader failed on
    std::uint32_t lostRoot_ = 0;
    bool watchLimited_ = false;
};

} // namespace vennic::photos
