#pragma once
#include <QByteArray>
#include <QString>

namespace vennic {

struct ResolvedFolder {
    QString path;       // absolute
    bool stale = false; // the folder was found elsewhere than where it was bookmarked
    bool operator==(const ResolvedFolder&) const = default;
};

/// Bytes that name a folder across launches and renames. Any thread may use it.
class FolderBookmarks {
public:
    virtual ~FolderBookmarks() = default;
    /// Bytes for an existing folder. Raises LocalizedError.
    virtual QByteArray create(const QString& path) = 0;
    /// The folder again. Raises LocalizedError when it can't be found.
    virtual ResolvedFolder resolve(const QByteArray& bookmark) = 0;
    /// Opens access to a resolved folder; whether it took effect. Each true is closed exactly once.
    virtual bool startAccessing(const QString& path) = 0;
    virtual void stopAccessing(const QString& path) = 0;
};

} // namespace vennic
