#pragma once
#include "base/LocalizedError.h"
#include "ports/FolderBookmarks.h"

#include <functional>
#include <limits>
#include <map>
#include <mutex>
#include <set>

namespace vennic::test {

/// Bookmarks that hold the path itself. Folders can be moved, lost and refused, and every access is counted.
class FolderBookmarksFake final : public FolderBookmarks {
public:
    QByteArray create(const QString& path) override {
        if (lost.contains(path))
            throw LocalizedError(QStringLiteral("Le dossier n'a pas pu être retenu."));
        return "bookmark:" + path.toUtf8();
    }
    ResolvedFolder resolve(const QByteArray& bookmark) override {
        if (beforeResolve)
            beforeResolve();
        const std::scoped_lock guard(lock_);
        ++resolved;
        const QString path = QString::fromUtf8(bookmark.mid(9));
        if (!bookmark.startsWith("bookmark:") || lost.contains(path) || resolved > resolvable)
            throw LocalizedError(QStringLiteral("Le dossier est introuvable."));
        const auto target = moved.find(path);
        return target == moved.end() ? ResolvedFolder{path, false} : ResolvedFolder{target->second, true};
    }
    bool startAccessing(const QString& path) override {
        const std::scoped_lock guard(lock_);
        ++started;
        if (refused.contains(path))
            return false;
        ++open[path];
        return true;
    }
    void stopAccessing(const QString& path) override {
        const std::scoped_lock guard(lock_);
        ++stopped;
        --open[path];
    }

    /// Accesses that are open now; negative when one was closed twice.
    int openNow() const {
        const std::scoped_lock guard(lock_);
        int sum = 0;
        for (const auto& [path, count] : open)
            sum += count;
        return sum;
    }

    std::map<QString, QString> moved;                 // from, to
    std::set<QString> lost;                           // can't be bookmarked nor resolved
    int resolvable = std::numeric_limits<int>::max(); // after so many, none is resolved any more
    std::set<QString> refused;                        // access to them doesn't open
    std::map<QString, int> open;
    int resolved = 0;
    int started = 0;
    int stopped = 0;
    std::function<void()> beforeResolve; // called on the thread that resolves

private:
    mutable std::mutex lock_;
};

} // namespace vennic::test
