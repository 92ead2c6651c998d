#pragma once
#include "Bridge/OcrEngine.h"
#include "Bridge/SharedDocuments.h"
#include "Bridge/TaskAnswer.h"

namespace vennic {

/// Answers `ocr_image`: the text that is recognised in the file behind a handle, if it still lies in a shared folder.
/// Main thread only.
class OcrHandler {
public:
    OcrHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, OcrEngine engine,
               const BridgeIDCache& idCache)
        : documents_(grants, std::move(bookmarks), idCache), engine_(std::move(engine)) {}

    /// Sends its own answer; a success that can't be sent is dropped. Never fails but with Cancelled, which
    /// ends the recognition too.
    Task<> handleOcrImage(BridgeTask task, OcrImageArgs args, APIService api);

private:
    Task<BridgeResult> recognized(OcrImageArgs args);

    SharedDocuments documents_;
    OcrEngine engine_;
    TaskAnswer answer_{[](const QString&) {}};
};

} // namespace vennic
