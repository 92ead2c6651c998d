#include "Bridge/SharedFolderSearch.h"

#include "Bridge/BookmarkResolver.h"
#include "base/Pool.h"
#include "base/TextFolding.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr double indexTimeout = 5.0; // seconds

/// Where to search. A folder whose access didn't open is searched all the same.
struct Scopes {
    std::vector<FileURL> folders;
    std::vector<ScopedAccess> opened;
};

/// Runs on the pool: a folder on a slow disk, or one that has to be looked for, holds up nothing else.
Scopes openScopes(const std::shared_ptr<FolderBookmarks>& bookmarks, const std::vector<BookmarkEntry>& grants) {
    const BookmarkResolver resolver(*bookmarks);
    Scopes scopes;
    for (const BookmarkEntry& grant : grants) {
        if (const auto folder = resolver.resolveIfPossible(grant)) {
            scopes.folders.push_back(folder->url);
            scopes.opened.emplace_back(bookmarks, folder->url);
        }
    }
    return scopes;
}

} // namespace

SharedFolderSearch::SharedFolderSearch(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                                       SpotlightSearch search, BridgeIDCache& idCache, IdentifierSource identifiers)
    : grants_(grants), bookmarks_(std::move(bookmarks)), search_(std::move(search)), idCache_(idCache),
      identifiers_(std::move(identifiers)) {}

Task<std::optional<SharedFolderSearch::Found>>
SharedFolderSearch::search(QString query, std::optional<QStringList> folderHints, qint64 limit) {
    const std::vector<BookmarkEntry> grants = grants_.load();
    if (grants.empty())
        co_return std::nullopt;
    Scopes scopes = co_await onPoolWaiting(openScopes, bookmarks_, grants);
    std::vector<SearchResult> results = co_await search_.search(
        std::move(query), foldersByHints(std::move(scopes.folders), folderHints), limit, indexTimeout);
    Found found;
    found.opened = std::move(scopes.opened);
    found.hits.reserve(results.size());
    for (SearchResult& result : results) {
        const QString id = identifiers_();
        idCache_.put(id, result.url);
        found.hits.push_back({id, std::move(result)});
    }
    co_return found;
}

std::vector<FileURL> foldersByHints(std::vector<FileURL> folders, const std::optional<QStringList>& hints) {
    if (!hints || hints->isEmpty())
        return folders;
    QStringList folded;
    for (const QString& hint : *hints)
        folded.append(caseFolded(hint));
    std::vector<FileURL> kept;
    for (const FileURL& folder : folders) {
        const QString path = caseFolded(folder.path);
        // An empty hint is contained in nothing.
        if (std::ranges::any_of(folded, [&](const QString& hint) { return !hint.isEmpty() && path.contains(hint); }))
            kept.push_back(folder);
    }
    return kept.empty() ? folders : kept;
}

} // namespace vennic
