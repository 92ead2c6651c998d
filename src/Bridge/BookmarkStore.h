#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/FileURL.h"
#include "base/Clock.h"
#include "ports/FileSystem.h"
#include "ports/FolderBookmarks.h"

#include <QObject>

#include <vector>

namespace vennic {

/// The shared folders, in order of addition. Main thread only.
class BookmarkStore final : public QObject {
    Q_OBJECT
public:
    /// Loads the grants. All that it is given outlives it.
    BookmarkStore(KeyValueStore& store, FolderBookmarks& bookmarks, FileSystem& files, const Clock& clock);

    /// The store that the program installed.
    static BookmarkStore& shared() { return *shared_; }
    static void install(BookmarkStore* store) { shared_ = store; }

    const std::vector<BookmarkEntry>& entries() const { return entries_; }
    /// Shares a folder; the same folder twice makes two grants. Raises BookmarkError, or what the platform says when
    /// it can't bookmark the folder.
    BookmarkEntry add(const FileURL& url);
    /// Withdraws a grant. An unknown id changes nothing.
    void remove(const QUuid& id);
    /// Whether `url` is, or lies under, a folder that must never be shared. A folder above one may be.
    bool isSystemSensitive(const FileURL& url) const;

Q_SIGNALS:
    void entriesChanged();

private:
    static BookmarkStore* shared_;

    BookmarkPersistence persistence_;
    FolderBookmarks& bookmarks_;
    FileSystem& files_;
    const Clock& clock_;
    std::vector<BookmarkEntry> entries_;
};

} // namespace vennic
