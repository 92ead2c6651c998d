#include "Bridge/ReadHandler.h"

namespace vennic {

namespace {

constexpr qint64 usualMaxChars = 8000;

} // namespace

Task<> ReadHandler::handleRead(BridgeTask task, ReadArgs args, APIService api) {
    co_await answer_.outcome(std::move(api), task.id, read(std::move(args)));
}

Task<BridgeResult> ReadHandler::read(ReadArgs args) {
    const qint64 maxChars = args.maxChars.value_or(usualMaxChars);
    auto extract = [extractor = extractor_, maxChars](const FileURL& url, const std::stop_token&) {
        return extractor.extract(url, maxChars);
    };
    const ExtractedContent content = co_await documents_.use(args.documentId, std::move(extract));
    co_return BridgeReadResult{
        .content = content.text, .truncated = content.truncated, .bytes_read = content.bytesRead};
}

} // namespace vennic
