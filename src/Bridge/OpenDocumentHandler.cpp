#include "Bridge/OpenDocumentHandler.h"

#include "base/Pool.h"

namespace vennic {

namespace {

/// Runs on the pool: the desktop may take its time to start an application.
bool isOpened(const std::shared_ptr<Workspace>& workspace, const QString& path) {
    try {
        workspace->open(path);
        return true;
    } catch (const std::exception&) { // the backend learns that it failed, not why
        return false;
    }
}

} // namespace

Task<> OpenDocumentHandler::handleOpenDocument(BridgeTask task, OpenDocumentArgs args, APIService api) {
    const auto document = co_await documents_.redeem(args.documentId);
    if (const auto* refusal = std::get_if<QString>(&document)) {
        co_await TaskAnswer::error(std::move(api), task.id, *refusal);
        co_return;
    }
    BridgeOkResult result;
    result.ok = co_await onPool(isOpened, workspace_, std::get<FileURL>(document).path);
    if (!result.ok)
        result.error = QStringLiteral("open_failed");
    co_await answer_.success(std::move(api), task.id, result);
}

} // namespace vennic
