#pragma once
#include "Bridge/SharedFolderSearch.h"
#include "Bridge/TaskAnswer.h"

namespace vennic {

/// Answers `search`: documents by words in the shared folders, each under a new handle. Main thread only.
class SearchHandler {
public:
    SearchHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, SpotlightSearch search,
                  BridgeIDCache& idCache, const TaskAnswer& answer, IdentifierSource identifiers = newIdentifier)
        : search_(grants, std::move(bookmarks), std::move(search), idCache, std::move(identifiers)), answer_(answer) {}

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleSearch(BridgeTask task, SearchArgs args, APIService api);

private:
    SharedFolderSearch search_;
    const TaskAnswer& answer_;
};

} // namespace vennic
