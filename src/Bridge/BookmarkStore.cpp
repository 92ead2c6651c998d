#include "Bridge/BookmarkStore.h"

#include "Bridge/BookmarkError.h"

#include <algorithm>

namespace vennic {

BookmarkStore* BookmarkStore::shared_ = nullptr;

BookmarkStore::BookmarkStore(KeyValueStore& store, FolderBookmarks& bookmarks, FileSystem& files, const Clock& clock)
    : persistence_(store), bookmarks_(bookmarks), files_(files), clock_(clock), entries_(persistence_.load()) {}

BookmarkEntry BookmarkStore::add(const FileURL& url) {
    const auto values = files_.values(url.path);
    if (!values || !values->isDirectory)
        throw BookmarkError::notADirectory();
    if (isSystemSensitive(url))
        throw BookmarkError::systemSensitive();
    BookmarkEntry entry{.id = QUuid::createUuid(),
                        .bookmarkData = bookmarks_.create(url.path),
                        .displayName = url.lastPathComponent(),
                        .addedAt = clock_.now()};
    entries_.push_back(entry);
    persistence_.save(entries_);
    Q_EMIT entriesChanged();
    return entry;
}

void BookmarkStore::remove(const QUuid& id) {
    const auto removed = std::erase_if(entries_, [&](const BookmarkEntry& entry) { return entry.id == id; });
    persistence_.save(entries_);
    if (removed > 0)
        Q_EMIT entriesChanged();
}

bool BookmarkStore::isSystemSensitive(const FileURL& url) const {
    const FileURL standardized = url.standardized();
    const QString home = files_.homeDirectory();
    const QStringList denied{
        home + QStringLiteral("/Library/Keychains"),
        home + QStringLiteral("/.ssh"),
        home + QStringLiteral("/.aws"),
        home + QStringLiteral("/.gnupg"),
        home + QStringLiteral("/.config/gcloud"),
        QStringLiteral("/private/etc"),
        QStringLiteral("/private/var/db"),
    };
    return std::ranges::any_of(denied,
                               [&](const QString& entry) { return standardized.isOrLiesUnder(FileURL{entry}); });
}

} // namespace vennic
