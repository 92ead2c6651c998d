#include "linux/MovedFolderSearch.h"

#include "linux/FileDescriptor.h"
#include "linux/NativePath.h"

#include <cerrno>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace vennic {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

Folder openFolder(const QByteArray& path) {
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    int number = open(path.constData(), flags | O_NOATIME);
    if (number < 0 && errno == EPERM) // another user's folder
        number = open(path.constData(), flags);
    return Folder(number < 0 ? nullptr : fdopendir(number));
}

QByteArray parentOf(const QByteArray& path) { return path.left(std::max<qsizetype>(path.lastIndexOf('/'), 1)); }

} // namespace

struct MovedFolderSearch::Progress {
    const FolderIdentity& wanted;
    int entriesLeft = 0;
    std::chrono::steady_clock::time_point end;
    std::optional<FolderIdentity> walked; // its folder was gone through already

    bool isOver() const { return entriesLeft <= 0 || std::chrono::steady_clock::now() >= end; }
};

std::optional<QString> MovedFolderSearch::find(const FolderIdentity& wanted) const {
    const auto path = nativePath(wanted.path);
    if (!path || !wanted.hasBirth())
        return std::nullopt;
    const QByteArray home = nativePath(home_).value_or(QByteArrayLiteral("/"));
    const bool isAtHome = path->startsWith(home + '/');
    Progress progress{wanted, limits_.entries, std::chrono::steady_clock::now() + limits_.time, {}};
    for (QByteArray top = parentOf(*path); top != "/" && !progress.isOver(); top = parentOf(top)) {
        auto identity = folderIdentity(-1, top, true);
        if (identity) {
            identity->fileSystem = fileSystemIdentity(top);
            if (!identity->isOnSameFileSystem(wanted))
                break;
            if (const auto found = findBelow(top, *identity, progress))
                return QString::fromUtf8(*found);
            progress.walked = identity;
        }
        if (isAtHome && top == home)
            break;
    }
    return std::nullopt;
}

std::optional<QByteArray> MovedFolderSearch::findBelow(const QByteArray& top, const FolderIdentity& topIdentity,
                                                       Progress& progress) const {
    std::deque<QByteArray> waiting{top + '/'};
    while (!waiting.empty()) {
        const QByteArray path = std::move(waiting.front());
        waiting.pop_front();
        // The top may be reached by a link of the user's own; the slash at the end follows it.
        const Folder folder = openFolder(path);
        while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
            if (entry->d_name[0] == '.')
                continue;
            --progress.entriesLeft;
            if (progress.entriesLeft <= 0 || (progress.entriesLeft % 256 == 0 && progress.isOver()))
                return std::nullopt;
            if (entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN)
                continue;
            const QByteArray name(entry->d_name);
            const auto identity = folderIdentity(dirfd(folder.get()), name, false);
            if (!identity || identity->device != topIdentity.device ||
                (progress.walked && identity->isSameFolder(*progress.walked)))
                continue;
            QByteArray found = path + name;
            if (!QUtf8StringView(found).isValidUtf8())
                continue;
            if (identity->hasBirth() && folderIfSame(progress.wanted, dirfd(folder.get()), name, false))
                return found;
            waiting.push_back(found + '/');
        }
        if (progress.isOver())
            return std::nullopt;
    }
    return std::nullopt;
}

} // namespace vennic
