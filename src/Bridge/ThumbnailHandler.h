#pragma once
#include "Bridge/BridgeContext.h"
#include "Bridge/ShownDocuments.h"
#include "Bridge/TaskAnswer.h"
#include "ports/Thumbnailer.h"

namespace vennic {

/// Answers `thumbnail`: a small picture of a file, or the empty form where there is none. Main thread only.
class ThumbnailHandler {
public:
    ThumbnailHandler(ShownDocuments documents, std::shared_ptr<Thumbnailer> thumbnailer, const BridgeContext& context)
        : documents_(std::move(documents)), thumbnailer_(std::move(thumbnailer)), context_(context) {}

    /// Sends its own answer. Never fails but with Cancelled, which ends the drawing too.
    Task<> handleThumbnail(BridgeTask task, ThumbnailArgs args, APIService api);

private:
    ShownDocuments documents_;
    std::shared_ptr<Thumbnailer> thumbnailer_;
    const BridgeContext& context_;
};

} // namespace vennic
