#include "Bridge/ThumbnailHandler.h"

#include "base/LocalizedError.h"
#include "base/Pool.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qint64 usualEdge = 128; // points
constexpr double scaleWithoutScreen = 2.0;

int edgeLength(std::optional<qint64> maxEdge) {
    constexpr qint64 smallestEdge = 32;
    constexpr qint64 largestEdge = 256;
    return static_cast<int>(std::clamp(maxEdge.value_or(usualEdge), smallestEdge, largestEdge));
}

/// The form without a picture when there is none.
BridgeThumbnailResult resultOf(const std::optional<Thumbnail>& thumbnail) {
    BridgeThumbnailResult result{.data_base64 = {}, .mime = QStringLiteral("image/png"), .width = 0, .height = 0};
    if (thumbnail && !thumbnail->png.isEmpty()) {
        result.data_base64 = QString::fromLatin1(thumbnail->png.toBase64());
        result.width = thumbnail->width;
        result.height = thumbnail->height;
    }
    return result;
}

/// Runs on the pool: a file may be large, and its disk slow.
BridgeThumbnailResult drawn(std::stop_token stop, const std::shared_ptr<Thumbnailer>& thumbnailer, const QString& path,
                            int edge, double scale) {
    try {
        return resultOf(thumbnailer->thumbnail(path, edge, scale, std::move(stop)));
    } catch (const std::exception&) { // memory or threads have run out; the backend learns only that there is none
        return resultOf(std::nullopt);
    }
}

Task<bool> isSent(APIService api, QString id, BridgeThumbnailResult result) {
    try {
        co_await api.reportBridgeTaskSuccess(std::move(id), std::move(result));
        co_return true;
    } catch (const LocalizedError&) {
        co_return false;
    }
}

} // namespace

Task<> ThumbnailHandler::handleThumbnail(BridgeTask task, ThumbnailArgs args, APIService api) {
    const auto document = co_await documents_.redeem(args.documentId);
    if (const auto* refusal = std::get_if<QString>(&document)) {
        co_await TaskAnswer::error(std::move(api), task.id, *refusal);
        co_return;
    }
    const double scale = context_.mainScreenScale().value_or(scaleWithoutScreen);
    BridgeThumbnailResult result =
        co_await onPoolWaiting(drawn, thumbnailer_, std::get<FileURL>(document).path, edgeLength(args.maxEdge), scale);
    // The one answer that is tried twice: a picture that doesn't get through is answered by none.
    if (!co_await isSent(api, task.id, std::move(result)))
        co_await isSent(api, task.id, resultOf(std::nullopt));
}

} // namespace vennic
