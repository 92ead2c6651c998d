#include "linux/index/FolderFinder.h"

#include "linux/index/DiskFolder.h"

#include <algorithm>

namespace vennic::index {

FolderFinder::FolderFinder(const Database& database)
    : roots_(database.prepare("SELECT id, name FROM dir WHERE parent=0 ORDER BY length(name) DESC")),
      child_(database.prepare("SELECT id FROM dir WHERE parent=? AND name=?")) {}

std::optional<std::uint32_t> FolderFinder::child(std::uint32_t folder, std::string_view name) {
    if (!child_.with(folder, name).step())
        return std::nullopt;
    const auto id = static_cast<std::uint32_t>(child_.integer(0));
    child_.reset();
    return id;
}

std::optional<std::uint32_t> FolderFinder::find(const std::string& path) {
    std::optional<std::uint32_t> found;
    for (roots_.reset(); !found && roots_.step();) {
        const auto below = pathBelow(path, std::string(roots_.blob(1)));
        if (!below)
            continue;
        found = static_cast<std::uint32_t>(roots_.integer(0));
        for (std::size_t at = 0; found && at < below->size();) {
            const std::size_t slash = std::min(below->find('/', at), below->size());
            found = child(*found, std::string_view(*below).substr(at, slash - at));
            at = slash + 1;
        }
    }
    roots_.reset();
    return found;
}

} // namespace vennic::index
