#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/TaskAnswer.h"
#include "ports/FileSystem.h"
#include "ports/FolderBookmarks.h"

#include <memory>

namespace vennic {

/// Answers `list_folders`: the shared folders that are there. Main thread only.
class ListFoldersHandler {
public:
    ListFoldersHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                       std::shared_ptr<FileSystem> files, const TaskAnswer& answer)
        : grants_(grants), bookmarks_(std::move(bookmarks)), files_(std::move(files)), answer_(answer) {}

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleListFolders(BridgeTask task, APIService api);

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    std::shared_ptr<FileSystem> files_;
    const TaskAnswer& answer_;
};

} // namespace vennic
