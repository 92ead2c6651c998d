#include "Bridge/BookmarkResolver.h"

#include "Bridge/BookmarkError.h"

#include <algorithm>

namespace vennic {

BookmarkResolver::Resolved BookmarkResolver::resolve(const BookmarkEntry& entry) const {
    try {
        const ResolvedFolder folder = bookmarks_.resolve(entry.bookmarkData);
        return {FileURL{folder.path}, folder.stale};
    } catch (const LocalizedError& error) {
        throw BookmarkError::resolutionFailed(error.errorDescription());
    }
}

std::optional<BookmarkResolver::Resolved> BookmarkResolver::resolveIfPossible(const BookmarkEntry& entry) const {
    try {
        return resolve(entry);
    } catch (const BookmarkError&) {
        return std::nullopt;
    }
}

std::optional<BookmarkEntry> BookmarkResolver::grantOf(const FileURL& document,
                                                       const std::vector<BookmarkEntry>& grants) const {
    for (const BookmarkEntry& entry : grants) {
        const auto folder = resolveIfPossible(entry);
        if (folder && document.isOrLiesUnder(folder->url))
            return entry;
    }
    return std::nullopt;
}

bool BookmarkResolver::isLooselyGranted(const FileURL& document, const std::vector<BookmarkEntry>& grants) const {
    return std::ranges::any_of(grants, [&](const BookmarkEntry& entry) {
        const auto folder = resolveIfPossible(entry);
        return folder && document.path.startsWith(folder->url.path);
    });
}

} // namespace vennic
