#pragma once
#include "linux/FileDescriptor.h"
#include "linux/FolderIdentity.h"
#include "ports/FolderBookmarks.h"

#include <QHash>

#include <chrono>
#include <functional>
#include <mutex>
#include <unordered_map>

namespace vennic {

/// Bookmarks that hold a folder's path, file system, inode, time of birth and, where there is one, handle.
///
/// A folder that is where it was costs a few calls of the system. One that isn't is looked for (MovedFolderSearch);
/// where it was found, or that it wasn't, is remembered, so that the next resolving is cheap again: after a search in
/// vain the next one waits for half a minute, then twice as long each time, up to ten minutes.
class FolderBookmarksInode final : public FolderBookmarks {
public:
    using Moment = std::chrono::steady_clock::time_point;
    using Search = std::function<std::optional<QString>(const FolderIdentity&)>;

    /// Searches up to the user's home directory.
    FolderBookmarksInode();
    FolderBookmarksInode(Search search, std::function<Moment()> now);

    QByteArray create(const QString& path) override;
    ResolvedFolder resolve(const QByteArray& bookmark) override;
    bool startAccessing(const QString& path) override;
    void stopAccessing(const QString& path) override;

private:
    struct Searched {
        QString found; // empty: in vain
        Moment until;  // no new search before
        std::chrono::seconds pause{0};
    };
    struct Access {
        FileDescriptor folder;
        int count = 0;
    };
    std::optional<QString> searchFor(const QByteArray& bookmark, const FolderIdentity& wanted);

    Search search_;
    std::function<Moment()> now_;
    std::mutex mutex_;
    QHash<QByteArray, Searched> searched_;
    std::unordered_map<QString, Access> accesses_;
};

} // namespace vennic
