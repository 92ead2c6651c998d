#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/ScopedAccess.h"
#include "Bridge/SpotlightSearch.h"
#include "Bridge/TaskAnswer.h"
#include "base/Identifier.h"

#include <memory>
#include <vector>

namespace vennic {

/// Answers `search`: documents by words in the shared folders, each under a new handle. Main thread only.
class SearchHandler {
public:
    SearchHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, SpotlightSearch search,
                  BridgeIDCache& idCache, const TaskAnswer& answer, IdentifierSource identifiers = newIdentifier);

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleSearch(BridgeTask task, SearchArgs args, APIService api);

private:
    BridgeSearchResult handedOut(const std::vector<SearchResult>& results);

    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    SpotlightSearch search_;
    BridgeIDCache& idCache_;
    const TaskAnswer& answer_;
    IdentifierSource identifiers_;
};

/// The folders whose path contains one of the hints, without regard to case; all of them when none does.
std::vector<FileURL> foldersByHints(std::vector<FileURL> folders, const std::optional<QStringList>& hints);

} // namespace vennic
