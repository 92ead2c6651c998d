#include "Bridge/ListFoldersHandler.h"

#include "Bridge/BookmarkResolver.h"
#include "Bridge/ScopedAccess.h"
#include "base/Pool.h"

namespace vennic {

namespace {

/// Runs on the pool: a folder on a slow disk, or one that has to be looked for, holds up nothing else.
BridgeListFoldersResult presentFolders(const std::shared_ptr<FolderBookmarks>& bookmarks,
                                       const std::shared_ptr<FileSystem>& files,
                                       const std::vector<BookmarkEntry>& grants) {
    const BookmarkResolver resolver(*bookmarks);
    const QString home = files->homeDirectory();
    BridgeListFoldersResult result;
    for (const BookmarkEntry& grant : grants) {
        const auto folder = resolver.resolveIfPossible(grant);
        if (!folder)
            continue;
        const ScopedAccess access(bookmarks, folder->url);
        const auto values = files->values(folder->url.path);
        result.folders.push_back({.id = uuidString(grant.id),
                                  .name = grant.displayName,
                                  .path_display = displayPath(folder->url.path, home),
                                  .is_remote = values && !values->volumeIsLocal.value_or(true)});
    }
    return result;
}

} // namespace

Task<> ListFoldersHandler::handleListFolders(BridgeTask task, APIService api) {
    BridgeListFoldersResult result = co_await onPoolWaiting(presentFolders, bookmarks_, files_, grants_.load());
    co_await answer_.success(std::move(api), task.id, std::move(result));
}

} // namespace vennic
