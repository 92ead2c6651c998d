#include "Bridge/ReadHandler.h"

#include "Bridge/BookmarkResolver.h"
#include "Bridge/ScopedAccess.h"
#include "base/Pool.h"

namespace vennic {

namespace {

constexpr qint64 usualMaxChars = 8000;

/// The text, or the sentence that says why there is none.
using Outcome = std::variant<ExtractedContent, QString>;

/// Runs on the pool: a folder on a slow disk, or one that has to be looked for, holds up nothing else.
Outcome readShared(const std::shared_ptr<FolderBookmarks>& bookmarks, const DocumentExtractor& extractor,
                   const std::vector<BookmarkEntry>& grants, const FileURL& url, qint64 maxChars) {
    const BookmarkResolver resolver(*bookmarks);
    try {
        const auto grant = resolver.grantOf(url, grants);
        if (!grant)
            return QStringLiteral("Document hors des dossiers partagés.");
        const ScopedAccess access(bookmarks, resolver.resolve(*grant).url);
        return extractor.extract(url, maxChars);
    } catch (const std::exception& error) {
        return localizedDescription(error);
    }
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
    const qint64 maxChars = args.maxChars.value_or(usualMaxChars);
    const Outcome outcome = co_await onPool(readShared, bookmarks_, extractor_, grants_.load(), *url, maxChars);
    if (const auto* failure = std::get_if<QString>(&outcome)) {
        co_await TaskAnswer::error(std::move(api), task.id, *failure);
        co_return;
    }
    const auto& content = std::get<ExtractedContent>(outcome);
    const BridgeReadResult result{
        .content = content.text, .truncated = content.truncated, .bytes_read = content.bytesRead};
    co_await answer_.success(std::move(api), task.id, result);
}

} // namespace vennic
