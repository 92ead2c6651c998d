#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/ScopedAccess.h"
#include "Bridge/SpotlightSearch.h"
#include "base/Identifier.h"

#include <memory>
#include <optional>
#include <vector>

namespace vennic {

/// Searches the shared folders for documents by words, and puts each hit under a new handle. Main thread only.
class SharedFolderSearch {
public:
    struct Hit {
        QString id; // the handle
        SearchResult result;
    };
    struct Found {
        std::vector<Hit> hits;
        std::vector<ScopedAccess> opened; // to the folders that were searched; closed with this
    };

    SharedFolderSearch(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, SpotlightSearch search,
                       BridgeIDCache& idCache, IdentifierSource identifiers = newIdentifier);

    /// None when no folder is shared. `folderHints` narrow the folders, see `foldersByHints`. Never fails but with
    /// Cancelled.
    Task<std::optional<Found>> search(QString query, std::optional<QStringList> folderHints, qint64 limit);

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    SpotlightSearch search_;
    BridgeIDCache& idCache_;
    IdentifierSource identifiers_;
};

/// The folders whose path contains one of the hints, without regard to case; all of them when none does.
std::vector<FileURL> foldersByHints(std::vector<FileURL> folders, const std::optional<QStringList>& hints);

} // namespace vennic
