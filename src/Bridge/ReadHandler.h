#pragma once
#include "Bridge/DocumentExtractor.h"
#include "Bridge/SharedDocuments.h"
#include "Bridge/TaskAnswer.h"

namespace vennic {

/// Answers `read`: the text behind a handle, if its file still lies in a shared folder. Main thread only.
class ReadHandler {
public:
    ReadHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, DocumentExtractor extractor,
                const BridgeIDCache& idCache, const TaskAnswer& answer)
        : documents_(grants, std::move(bookmarks), idCache), extractor_(std::move(extractor)), answer_(answer) {}

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleRead(BridgeTask task, ReadArgs args, APIService api);

private:
    Task<BridgeResult> read(ReadArgs args);

    SharedDocuments documents_;
    DocumentExtractor extractor_;
    const TaskAnswer& answer_;
};

} // namespace vennic
