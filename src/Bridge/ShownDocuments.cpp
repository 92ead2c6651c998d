#include "Bridge/ShownDocuments.h"

#include "Bridge/BookmarkResolver.h"
#include "base/Pool.h"

namespace vennic {

namespace {

/// Runs on the pool: a folder on a slow disk, or one that has to be looked for, holds up nothing else.
bool isShared(const std::shared_ptr<FolderBookmarks>& bookmarks, const std::vector<BookmarkEntry>& grants,
              const FileURL& url) {
    return BookmarkResolver(*bookmarks).isLooselyGranted(url, grants);
}

} // namespace

Task<ShownDocuments::Redeemed> ShownDocuments::redeem(QString documentId) const {
    auto url = idCache_.get(documentId);
    if (!url)
        co_return QStringLiteral("Document introuvable (la session a pu être nettoyée ; relance la recherche).");
    if (!co_await onPoolWaiting(isShared, bookmarks_, grants_.load(), *url))
        co_return QStringLiteral("Le document n'est plus dans un dossier partagé.");
    co_return *std::move(url);
}

} // namespace vennic
