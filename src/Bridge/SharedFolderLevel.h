#pragma once
#include "Bridge/BookmarkEntry.h"
#include "Bridge/ScopedAccess.h"
#include "Bridge/SubPath.h"
#include "ports/FileSystem.h"

#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace vennic {

/// One level of a shared folder.
struct SharedFolderLevel {
    FileURL folder;                   // the one that is listed
    QString subPath;                  // the way down to it, normalised
    std::vector<FolderEntry> entries; // by their names, as NameCollation has it
};

/// What is to be listed, and with what.
struct SharedFolderQuestion {
    std::shared_ptr<FolderBookmarks> bookmarks;
    std::shared_ptr<FileSystem> files;
    std::vector<BookmarkEntry> grants;
    QString folderId; // of a grant
    QString subPath;  // see SubPath
    std::stop_token stop;
};

/// Lists the folder. Blocks, and is for the pool: a folder on a slow disk holds up nothing else. Access to the shared
/// folder is opened into `access`, for the caller to end. Raises LocalizedError with the sentence that says why there
/// is no listing; when `stop` asks, what has been read until then is given.
SharedFolderLevel listSharedFolder(const SharedFolderQuestion& question, std::optional<ScopedAccess>& access);

} // namespace vennic
