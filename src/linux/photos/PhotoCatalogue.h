#pragma once
#include "base/PhotoFacts.h"
#include "linux/index/Database.h"
#include "linux/photos/FileIdentity.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::photos {

enum class PhotoState : std::uint8_t {
    waiting, // its facts are to be read
    photo,
    refused, // no picture, or it couldn't be read; not tried again until it changes
};

/// One file of the library.
struct PhotoRow {
    std::int64_t id = 0;
    std::uint32_t folder = 0;
    std::string name;       // bytes
    std::string identifier; // that the library gives out; never changes
    FileOnDisk disk;
    PhotoState state = PhotoState::waiting;
    PhotoFacts facts; // of a photo
};

/// When an undated photo was taken: before all others.
constexpr std::int64_t undated = std::numeric_limits<std::int64_t>::min();

/// The tables of the library, written by its thread. Identifiers outlive their files by a year, without name, date or
/// place, so that a photo that comes back is the same one. Operations raise index::DatabaseError.
class PhotoCatalogue {
public:
    struct FolderRow {
        std::uint32_t id = 0;
        std::string name;
    };

    /// Opens or makes the file (mode 0600). A file of another version counts as damaged.
    explicit PhotoCatalogue(const std::string& path);

    void begin();
    void commit();
    /// Empties the write-ahead log, so that nothing that was erased lingers there; false when a reader prevents it.
    bool truncateLog();

    /// Folders; those with parent 0 are roots, named by their absolute path.
    std::vector<FolderRow> children(std::uint32_t parent);
    std::uint32_t addFolder(std::uint32_t parent, const std::string& name);
    void removeFolder(std::uint32_t folder);
    /// Components from the root's absolute path on; empty when the folder isn't known.
    std::vector<std::string> components(std::uint32_t folder);

    std::vector<PhotoRow> photosIn(std::uint32_t folder);
    std::optional<PhotoRow> photoAt(std::uint32_t folder, const std::string& name);
    std::optional<PhotoRow> photo(std::int64_t id);
    /// All that may be that file: they have its volume and inode.
    std::vector<PhotoRow> photosOf(const FileIdentity& identity);
    /// The newest file that waits for its facts.
    std::optional<PhotoRow> newestWaiting();
    void add(const PhotoRow& row);
    /// Writes folder, name, file and state. `row.facts` stay what they are.
    void update(const PhotoRow& row);
    void setFacts(std::int64_t id, PhotoState state, const PhotoFacts& facts, std::int64_t taken);
    /// The file has gone: all but its identifier is forgotten.
    void depart(const PhotoRow& row, std::int64_t now);
    /// The identifier of a file that had gone and is back; it is taken out.
    std::optional<std::string> takeDeparted(const FileOnDisk& disk);
    /// Forgets folders and photos but for the identifiers.
    void departAll(std::int64_t now);
    /// Forgets identifiers whose file has been gone for a year, and the oldest beyond a hundred thousand.
    void forgetDeparted(std::int64_t now);

    /// Gives each photo the moment that `takenOf` finds in its facts.
    void redate(const std::function<std::int64_t(const PhotoFacts&)>& takenOf);

    std::int64_t count(PhotoState state);

private:
    PhotoRow rowOf(const index::Statement& statement) const;
    std::vector<PhotoRow> rowsOf(index::Statement& statement) const;
    std::optional<PhotoRow> oneOf(index::Statement& statement) const;

    index::Database database_;
    index::Statement children_, addFolder_, removeFolder_, parent_, photosIn_, photoAt_, photo_, photosOf_, waiting_,
        add_, update_, setFacts_, remove_, addDeparted_, departed_, removeDeparted_;
    bool changing_ = false;
};

/// Columns that hold a record of fixed size.
std::string_view asColumn(const PhotoFacts& facts);
PhotoFacts factsOfColumn(std::string_view column);

} // namespace vennic::photos
