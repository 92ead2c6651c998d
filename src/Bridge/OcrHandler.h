#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/OcrEngine.h"
#include "Bridge/TaskAnswer.h"
#include "ports/FolderBookmarks.h"

#include <memory>

namespace vennic {

/// Answers `ocr_image`: the text that is recognised in the file behind a handle, if it still lies in a shared folder.
/// Main thread only.
class OcrHandler {
public:
    OcrHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, OcrEngine engine,
               const BridgeIDCache& idCache)
        : grants_(grants), bookmarks_(std::move(bookmarks)), engine_(std::move(engine)), idCache_(idCache) {}

    /// Sends its own answer; a success that can't be sent is dropped. Never fails but with Cancelled, which
    /// ends the recognition too.
    Task<> handleOcrImage(BridgeTask task, OcrImageArgs args, APIService api);

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    OcrEngine engine_;
    const BridgeIDCache& idCache_;
    TaskAnswer answer_{[](const QString&) {}};
};

} // namespace vennic
