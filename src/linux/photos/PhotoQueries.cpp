#include "linux/photos/PhotoQueries.h"

#include <algorithm>

namespace vennic::photos {

namespace {

KnownPhoto photoOfRow(const index::Statement& row) {
    return {.identifier = std::string(row.blob(0)),
            .name = std::string(row.blob(1)),
            .taken = row.integer(2),
            .facts = factsOfColumn(row.blob(3)),
            .folder = {},
            .disk = {}};
}

std::vector<std::string> componentsOf(const index::Database& database, std::int64_t folder) {
    constexpr std::size_t deepest = 4096; // a damaged table may hold a circle
    std::vector<std::string> components;
    index::Statement parent = database.prepare("SELECT parent, name FROM folder WHERE id = ?");
    while (folder != 0 && components.size() < deepest && parent.with(folder).step()) {
        components.emplace_back(parent.blob(1));
        folder = parent.integer(0);
    }
    std::ranges::reverse(components);
    return components;
}

} // namespace

std::vector<KnownPhoto> newestPhotos(const std::string& catalogue, std::int64_t limit,
                                     std::optional<std::pair<std::int64_t, std::int64_t>> taken) {
    const index::Database database(catalogue, index::Database::Mode::read);
    index::Statement rows = database.prepare("SELECT identifier, name, taken, facts FROM photo "
                                             "WHERE state = 1 AND taken >= ? AND taken < ? "
                                             "ORDER BY taken DESC, modified DESC, id DESC LIMIT ?");
    constexpr std::int64_t always = std::numeric_limits<std::int64_t>::max();
    // No interval reaches down to the photos without a date.
    const std::int64_t from = taken ? std::max(taken->first, undated + 1) : undated;
    rows.with(from, taken ? taken->second : always, limit);
    std::vector<KnownPhoto> photos;
    while (rows.step())
        photos.push_back(photoOfRow(rows));
    return photos;
}

std::optional<KnownPhoto> photoOf(const std::string& catalogue, const std::string& identifier) {
    const index::Database database(catalogue, index::Database::Mode::read);
    index::Statement row = database.prepare("SELECT identifier, name, taken, facts, folder, volume, inode, birth, "
                                            "modified, changed, size FROM photo WHERE identifier = ? AND state = 1");
    if (!row.with(std::string_view(identifier)).step())
        return std::nullopt;
    KnownPhoto photo = photoOfRow(row);
    photo.folder = componentsOf(database, row.integer(4));
    photo.disk.identity.volume = static_cast<std::uint64_t>(row.integer(5));
    photo.disk.identity.inode = static_cast<std::uint64_t>(row.integer(6));
    photo.disk.identity.birth = row.integer(7);
    photo.disk.modified = row.integer(8);
    photo.disk.changed = row.integer(9);
    photo.disk.size = row.integer(10);
    return photo;
}

} // namespace vennic::photos
