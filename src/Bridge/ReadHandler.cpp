#include "Bridge/ReadHandler.h"

namespace vennic {

namespace {

constexpr qint64 usualMaxChars = 8000;

} // namespace

Task<> ReadHandler::handleRead(BridgeTask task, ReadArgs args, APIService api) {
    BridgeReadResult result;
    std::optional<QString> failure;
    try {
        const qint64 maxChars = args.maxChars.value_or(usualMaxChars);
        auto extract = [extractor = extractor_, maxChars](const FileURL& url, const std::stop_token&) {
            return extractor.extract(url, maxChars);
        };
        const ExtractedContent content = co_await documents_.use(args.documentId, std::move(extract));
        result = {.content = content.text, .truncated = content.truncated, .bytes_read = content.bytesRead};
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        failure = localizedDescription(error);
    }
    if (failure)
        co_await TaskAnswer::error(std::move(api), task.id, *failure);
    else
        co_await answer_.success(std::move(api), task.id, std::move(result));
}

} // namespace vennic
