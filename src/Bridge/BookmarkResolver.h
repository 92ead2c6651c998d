#pragma once
#include "Bridge/BookmarkEntry.h"
#include "Bridge/FileURL.h"
#include "ports/FolderBookmarks.h"

#include <optional>
#include <vector>

namespace vennic {

/// Turns grants back into folders. Any thread may use it.
class BookmarkResolver {
public:
    struct Resolved {
        FileURL url;
        bool stale = false; // recorded, never acted on
        bool operator==(const Resolved&) const = default;
    };

    explicit BookmarkResolver(FolderBookmarks& bookmarks) : bookmarks_(bookmarks) {}

    /// Raises BookmarkError::resolutionFailed.
    Resolved resolve(const BookmarkEntry& entry) const;
    /// The same, where a grant that can't be resolved counts as absent.
    std::optional<Resolved> resolveIfPossible(const BookmarkEntry& entry) const;
    /// The first grant, in stored order, that `document` is or lies under: paths compared as they stand.
    std::optional<BookmarkEntry> grantOf(const FileURL& document, const std::vector<BookmarkEntry>& grants) const;
    /// Whether the path of `document` begins with the path of a grant, whatever follows: "/a/bc" counts as within
    /// "/a/b".
    bool isLooselyGranted(const FileURL& document, const std::vector<BookmarkEntry>& grants) const;

private:
    FolderBookmarks& bookmarks_;
};

} // namespace vennic
