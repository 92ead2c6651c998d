#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BookmarkResolver.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/ScopedAccess.h"
#include "Bridge/SharedDocumentError.h"
#include "base/Pool.h"

#include <memory>
#include <type_traits>

namespace vennic {

/// Redeems handles for whatever reads a document. Main thread only.
class SharedDocuments {
public:
    SharedDocuments(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                    const BridgeIDCache& idCache)
        : grants_(grants), bookmarks_(std::move(bookmarks)), idCache_(idCache) {}

    /// Calls `work` on the pool with the document behind the handle, if it still lies in a shared folder, whose access
    /// is open meanwhile. The token is told to stop once nobody waits for the result. Raises SharedDocumentError,
    /// BookmarkError, Cancelled and what `work` raises.
    template <class Work>
    auto use(QString documentId, Work work) const -> Task<std::invoke_result_t<Work, FileURL, std::stop_token>> {
        const auto url = idCache_.get(documentId);
        if (!url)
            throw SharedDocumentError::notFound();
        co_return co_await onPoolWaiting(inSharedFolder<Work>, bookmarks_, grants_.load(), *url, std::move(work));
    }

private:
    /// Runs on the pool: a folder on a slow disk, or one that has to be looked for, holds up nothing else.
    template <class Work>
    static auto inSharedFolder(const std::stop_token& stop, const std::shared_ptr<FolderBookmarks>& bookmarks,
                               const std::vector<BookmarkEntry>& grants, const FileURL& document, const Work& work) {
        const BookmarkResolver resolver(*bookmarks);
        const auto grant = resolver.grantOf(document, grants);
        if (!grant)
            throw SharedDocumentError::notShared();
        const ScopedAccess access(bookmarks, resolver.resolve(*grant).url);
        return work(document, stop);
    }

    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    const BridgeIDCache& idCache_;
};

} // namespace vennic
