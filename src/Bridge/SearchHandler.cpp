#include "Bridge/SearchHandler.h"

#include "Bridge/BookmarkResolver.h"
#include "base/Dates.h"
#include "base/Pool.h"
#include "base/TextFolding.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qint64 usualLimit = 10;
constexpr double indexTimeout = 5.0; // seconds

/// Where to search. A folder whose access didn't open is searched all the same.
struct Scopes {
    std::vector<FileURL> folders;
    std::vector<ScopedAccess> opened; // closed when the answer has been sent or given up
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

SearchHandler::SearchHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                             SpotlightSearch search, BridgeIDCache& idCache, const TaskAnswer& answer,
                             IdentifierSource identifiers)
    : grants_(grants), bookmarks_(std::move(bookmarks)), search_(std::move(search)), idCache_(idCache), answer_(answer),
      identifiers_(std::move(identifiers)) {}

Task<> SearchHandler::handleSearch(BridgeTask task, SearchArgs args, APIService api) {
    const std::vector<BookmarkEntry> grants = grants_.load();
    if (grants.empty()) {
        co_await TaskAnswer::error(std::move(api), task.id,
                                   QStringLiteral("Aucun dossier partagé n'est configuré sur le Mac."));
        co_return;
    }
    const Scopes scopes = co_await onPool(openScopes, bookmarks_, grants);
    const std::vector<SearchResult> results = co_await search_.search(
        args.query, foldersByHints(scopes.folders, args.folderHints), args.limit.value_or(usualLimit), indexTimeout);
    co_await answer_.success(std::move(api), task.id, handedOut(results));
}

BridgeSearchResult SearchHandler::handedOut(const std::vector<SearchResult>& results) {
    BridgeSearchResult answer;
    answer.items.reserve(results.size());
    for (const SearchResult& result : results) {
        const QString id = identifiers_();
        idCache_.put(id, result.url);
        answer.items.push_back(
            {.id = id,
             .name = result.name,
             .mime = result.mime,
             .size = result.size,
             .modified_at = result.modifiedAt ? std::optional(iso8601(*result.modifiedAt)) : std::nullopt,
             .parent = result.parentDisplay,
             .is_remote = result.isRemote});
    }
    return answer;
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
