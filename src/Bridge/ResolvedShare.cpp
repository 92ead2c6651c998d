#include "Bridge/ResolvedShare.h"

#include "Bridge/BookmarkResolver.h"
#include "base/Pool.h"

namespace vennic {

namespace {

std::vector<ResolvedShare> resolveAll(const std::shared_ptr<FolderBookmarks>& folders,
                                      std::vector<BookmarkEntry> grants) {
    std::vector<ResolvedShare> shares;
    const BookmarkResolver resolver(*folders);
    for (BookmarkEntry& grant : grants) {
        const auto resolved = resolver.resolveIfPossible(grant);
        shares.push_back(
            {std::move(grant), resolved ? std::optional(resolved->url) : std::nullopt, resolved && resolved->stale});
    }
    return shares;
}

} // namespace

Task<std::vector<ResolvedShare>> resolvedShares(std::shared_ptr<FolderBookmarks> folders,
                                                std::vector<BookmarkEntry> grants) {
    return onPoolWaiting(resolveAll, std::move(folders), std::move(grants));
}

} // namespace vennic
