#include "Bridge/OcrHandler.h"

#include "Bridge/SharedDocument.h"
#include "base/Pool.h"

namespace vennic {

namespace {

using Outcome = std::variant<BridgeOcrResult, QString>;

/// Runs on the pool, for as long as the document has pages.
Outcome recognizeShared(const std::stop_token& stop, const std::shared_ptr<FolderBookmarks>& bookmarks,
                        const OcrEngine& engine, const std::vector<BookmarkEntry>& grants, const FileURL& url) {
    return inSharedFolder(bookmarks, grants, url, [&] { return engine.recognize(url, stop); });
}

} // namespace

Task<> OcrHandler::handleOcrImage(BridgeTask task, OcrImageArgs args, APIService api) {
    const auto url = idCache_.get(args.documentId);
    if (!url) {
        co_await TaskAnswer::error(std::move(api), task.id, documentNotFound());
        co_return;
    }
    const Outcome outcome = co_await onPoolWaiting(recognizeShared, bookmarks_, engine_, grants_.load(), *url);
    if (const auto* failure = std::get_if<QString>(&outcome))
        co_await TaskAnswer::error(std::move(api), task.id, *failure);
    else
        co_await answer_.success(std::move(api), task.id, std::get<BridgeOcrResult>(outcome));
}

} // namespace vennic
