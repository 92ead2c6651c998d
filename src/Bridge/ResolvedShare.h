#pragma once
#include "Bridge/BookmarkEntry.h"
#include "Bridge/FileURL.h"
#include "base/Task.h"
#include "ports/FolderBookmarks.h"

#include <memory>
#include <optional>
#include <vector>

namespace vennic {

/// A grant, and where its folder is now; none when it is nowhere to be found.
struct ResolvedShare {
    BookmarkEntry grant;
    std::optional<FileURL> folder;
};

/// Resolves each grant, in order. On the pool: a folder that has moved is looked for on the disk, which may take
/// seconds, and one on a slow disk holds up nothing else.
Task<std::vector<ResolvedShare>> resolvedShares(std::shared_ptr<FolderBookmarks> folders,
                                                std::vector<BookmarkEntry> grants);

} // namespace vennic
