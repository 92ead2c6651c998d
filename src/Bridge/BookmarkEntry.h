#pragma once
#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>

namespace vennic {

/// One shared folder, as the user granted it.
struct BookmarkEntry {
    QUuid id;
    QByteArray bookmarkData; // see FolderBookmarks
    QString displayName;     // last path component of the folder when it was added
    QDateTime addedAt;       // UTC
    bool operator==(const BookmarkEntry&) const = default;
};

/// Upper-case hexadecimal, 8-4-4-4-12: the form of the wire and of the store.
inline QString uuidString(const QUuid& id) { return id.toString(QUuid::WithoutBraces).toUpper(); }

} // namespace vennic
