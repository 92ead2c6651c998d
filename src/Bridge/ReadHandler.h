#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/DocumentExtractor.h"
#include "Bridge/TaskAnswer.h"
#include "ports/FolderBookmarks.h"

#include <memory>

namespace vennic {

/// Answers `read`: the text behind a handle, if its file still lies in a shared folder. Main thread only.
class ReadHandler {
public:
    ReadHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, DocumentExtractor extractor,
                const BridgeIDCache& idCache, const TaskAnswer& answer)
        : grants_(grants), bookmarks_(std::move(bookmarks)), extractor_(std::move(extractor)), idCache_(idCache),
          answer_(answer) {}

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleRead(BridgeTask task, ReadArgs args, APIService api);

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    DocumentExtractor extractor_;
    const BridgeIDCache& idCache_;
    const TaskAnswer& answer_;
};

} // namespace vennic
