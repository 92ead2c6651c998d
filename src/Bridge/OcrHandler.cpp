#include "Bridge/OcrHandler.h"

namespace vennic {

Task<> OcrHandler::handleOcrImage(BridgeTask task, OcrImageArgs args, APIService api) {
    co_await answer_.outcome(std::move(api), task.id, recognized(std::move(args)));
}

Task<BridgeResult> OcrHandler::recognized(OcrImageArgs args) {
    auto recognize = [engine = engine_](const FileURL& url, const std::stop_token& stop) {
        return engine.recognize(url, stop);
    };
    co_return co_await documents_.use(args.documentId, std::move(recognize));
}

} // namespace vennic
