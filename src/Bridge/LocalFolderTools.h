#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/LocalToolArguments.h"
#include "base/Identifier.h"
#include "base/Task.h"
#include "ports/FileSystem.h"
#include "ports/FolderBookmarks.h"

#include <memory>

namespace vennic {

/// The local model's tools that list the shared folders and what lies in them. Each gives a text for the model,
/// whatever happens, and fails with Cancelled alone. Main thread only; the disk is asked on the pool.
class LocalFolderTools {
public:
    /// `identifiers` is called on the pool.
    LocalFolderTools(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                     std::shared_ptr<FileSystem> files, BridgeIDCache& idCache,
                     IdentifierSource identifiers = newIdentifier);

    Task<QString> listLocalFolders() const;
    Task<QString> browseLocalFolder(LocalToolArguments arguments);

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    std::shared_ptr<FileSystem> files_;
    BridgeIDCache& idCache_;
    IdentifierSource identifiers_;
};

} // namespace vennic
