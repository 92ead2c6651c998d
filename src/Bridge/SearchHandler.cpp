#include "Bridge/SearchHandler.h"

#include "base/Dates.h"

namespace vennic {

namespace {

constexpr qint64 usualLimit = 10;

BridgeSearchResult::Item item(const SharedFolderSearch::Hit& hit) {
    const SearchResult& result = hit.result;
    return {.id = hit.id,
            .name = result.name,
            .mime = result.mime,
            .size = result.size,
            .modified_at = result.modifiedAt ? std::optional(iso8601(*result.modifiedAt)) : std::nullopt,
            .parent = result.parentDisplay,
            .is_remote = result.isRemote};
}

} // namespace

Task<> SearchHandler::handleSearch(BridgeTask task, SearchArgs args, APIService api) {
    // Access to the folders stays open until the answer has been sent or given up.
    const auto found = co_await search_.search(args.query, args.folderHints, args.limit.value_or(usualLimit));
    if (!found) {
        co_await TaskAnswer::error(std::move(api), task.id,
                                   QStringLiteral("Aucun dossier partagé n'est configuré sur le Mac."));
        co_return;
    }
    BridgeSearchResult answer;
    answer.items.reserve(found->hits.size());
    for (const SharedFolderSearch::Hit& hit : found->hits)
        answer.items.push_back(item(hit));
    co_await answer_.success(std::move(api), task.id, std::move(answer));
}

} // namespace vennic
