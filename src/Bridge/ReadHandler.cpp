#include "Bridge/ReadHandler.h"

#include "Bridge/SharedDocument.h"
#include "base/Pool.h"

namespace vennic {

namespace {

constexpr qint64 usualMaxChars = 8000;

using Outcome = std::variant<ExtractedContent, QString>;

Outcome readShared(const std::shared_ptr<FolderBookmarks>& bookmarks, const DocumentExtractor& extractor,
                   const std::vector<BookmarkEntry>& grants, const FileURL& url, qint64 maxChars) {
    return inSharedFolder(bookmarks, grants, url, [&] { return extractor.extract(url, maxChars); });
}

} // namespace

Task<> ReadHandler::handleRead(BridgeTask task, ReadArgs args, APIService api) {
    const auto url = idCache_.get(args.documentId);
    if (!url) {
        co_await TaskAnswer::error(std::move(api), task.id, documentNotFound());
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
