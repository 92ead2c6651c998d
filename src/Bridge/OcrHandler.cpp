#include "Bridge/OcrHandler.h"

namespace vennic {

Task<> OcrHandler::handleOcrImage(BridgeTask task, OcrImageArgs args, APIService api) {
    BridgeOcrResult result;
    std::optional<QString> failure;
    try {
        auto recognize = [engine = engine_](const FileURL& url, const std::stop_token& stop) {
            return engine.recognize(url, stop);
        };
        result = co_await documents_.use(args.documentId, std::move(recognize));
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
