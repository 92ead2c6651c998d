#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/TaskAnswer.h"
#include "base/Identifier.h"
#include "ports/FileSystem.h"
#include "ports/FileTypes.h"
#include "ports/FolderBookmarks.h"

#include <memory>

namespace vennic {

/// Answers `list_dir`: one level of a shared folder, each entry under a new handle. Main thread only.
class ListDirHandler {
public:
    /// `identifiers` is called on the pool.
    ListDirHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                   std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types, BridgeIDCache& idCache,
                   const TaskAnswer& answer, IdentifierSource identifiers = newIdentifier);

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleListDir(BridgeTask task, ListDirArgs args, APIService api);

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    std::shared_ptr<FileSystem> files_;
    std::shared_ptr<FileTypes> types_;
    BridgeIDCache& idCache_;
    const TaskAnswer& answer_;
    IdentifierSource identifiers_;
};

} // namespace vennic
