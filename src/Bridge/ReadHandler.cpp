#include "Bridge/ReadHandler.h"

#include "Bridge/BookmarkResolver.h"
#include "Bridge/ScopedAccess.h"
#include "base/Pool.h"

namespace vennic {

namespace {

constexpr qint64 usualMaxChars = 8000;

ExtractedContent extractWithin(std::shared_ptr<FolderBookmarks> bookmarks, const DocumentExtractor& extractor,
                               const BookmarkEntry& grant, const FileURL& url, qint64 maxChars) {
    const auto folder = BookmarkResolver(*bookmarks).resolve(grant);
    const ScopedAccess access(std::move(bookmarks), folder.url);
    return extractor.extract(url, maxChars);
}

} // namespace

Task<> ReadHandler::handleRead(BridgeTask task, ReadArgs args, APIService api) {
    const auto url = idCache_.get(args.documentId);
    if (!url) {
        co_await TaskAnswer::error(
            std::move(api), task.id,
            QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche)."));
        co_return;
    }
    const auto grant = BookmarkResolver(*bookmarks_).grantOf(*url, grants_.load());
    if (!grant) {
        co_await TaskAnswer::error(std::move(api), task.id, QStringLiteral("Document hors des dossiers partagés."));
        co_return;
    }
    const Outcome outcome = co_await readWithin(*grant, *url, args.maxChars.value_or(usualMaxChars));
    if (!outcome.content) {
        co_await TaskAnswer::error(std::move(api), task.id, outcome.failure);
        co_return;
    }
    const BridgeReadResult result{.content = outcome.content->text,
                                  .truncated = outcome.content->truncated,
                                  .bytes_read = outcome.content->bytesRead};
    co_await answer_.success(std::move(api), task.id, result);
}

Task<ReadHandler::Outcome> ReadHandler::readWithin(BookmarkEntry grant, FileURL url, qint64 maxChars) {
    try {
        ExtractedContent content = co_await onPool(extractWithin, bookmarks_, extractor_, grant, url, maxChars);
        co_return Outcome{std::move(content), {}};
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        co_return Outcome{std::nullopt, localizedDescription(error)};
    }
}

} // namespace vennic
