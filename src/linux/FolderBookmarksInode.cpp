#include "linux/FolderBookmarksInode.h"

#include "base/LocalizedError.h"
#include "linux/FileSystemPosix.h"
#include "linux/FolderFault.h"
#include "linux/MovedFolderSearch.h"
#include "linux/NativePath.h"
#include "linux/OpenedPath.h"

#include <cerrno>
#include <fcntl.h>

namespace vennic {

using namespace std::chrono_literals;

namespace {

constexpr auto firstPause = 30s;
constexpr auto longestPause = 600s;
constexpr qsizetype mostRemembered = 256;

[[noreturn]] void refuse(int error) {
    throw LocalizedError(QStringLiteral("Impossible de mémoriser le dossier : %1.").arg(folderFault(error)));
}

} // namespace

FolderBookmarksInode::FolderBookmarksInode()
    : FolderBookmarksInode(
          [](const FolderIdentity& wanted) {
              return MovedFolderSearch(FileSystemPosix().homeDirectory()).find(wanted);
          },
          [] { return std::chrono::steady_clock::now(); }) {}

FolderBookmarksInode::FolderBookmarksInode(Search search, std::function<Moment()> now)
    : search_(std::move(search)), now_(std::move(now)) {}

QByteArray FolderBookmarksInode::create(const QString& path) {
    const auto native = nativePath(path);
    if (!native)
        refuse(EINVAL);
    auto identity = folderIdentity(-1, *native, true);
    if (!identity)
        refuse(errno);
    identity->path = QString::fromUtf8(*native);
    identity->fileSystem = fileSystemIdentity(*native);
    identity->handle = folderHandle(-1, *native, true);
    return encoded(*identity);
}

ResolvedFolder FolderBookmarksInode::resolve(const QByteArray& bookmark) {
    const auto wanted = decodedFolderIdentity(bookmark);
    if (!wanted)
        throw LocalizedError(QStringLiteral("Le dossier partagé est illisible."));
    const QByteArray path = wanted->path.toUtf8();
    if (folderIfSame(*wanted, -1, path, true))
        return {wanted->path, false};
    if (const auto moved = searchFor(bookmark, *wanted))
        return {*moved, true};
    if (folderIdentity(-1, path, true))
        return {wanted->path, true};
    throw LocalizedError(QStringLiteral("Le dossier partagé est introuvable."));
}

std::optional<QString> FolderBookmarksInode::searchFor(const QByteArray& bookmark, const FolderIdentity& wanted) {
    Searched known;
    {
        const std::lock_guard lock(mutex_);
        known = searched_.value(bookmark);
    }
    if (!known.found.isEmpty()) {
        if (folderIfSame(wanted, -1, known.found.toUtf8(), false))
            return known.found;
        known = {};
    }
    if (now_() < known.until)
        return std::nullopt;
    const auto found = search_(wanted);
    known.found = found.value_or(QString());
    known.pause = found ? 0s : std::clamp<std::chrono::seconds>(known.pause * 2, firstPause, longestPause);
    known.until = now_() + known.pause;
    const std::lock_guard lock(mutex_);
    if (searched_.size() >= mostRemembered)
        searched_.clear();
    searched_.insert(bookmark, known);
    return found;
}

bool FolderBookmarksInode::startAccessing(const QString& path) {
    const auto native = nativePath(path);
    FileDescriptor folder = native ? openedPath(*native, O_PATH | O_DIRECTORY) : FileDescriptor();
    if (!folder.isOpen())
        return false;
    const std::lock_guard lock(mutex_);
    Access& access = accesses_[path];
    access.folder = std::move(folder);
    ++access.count;
    return true;
}

void FolderBookmarksInode::stopAccessing(const QString& path) {
    const std::lock_guard lock(mutex_);
    const auto access = accesses_.find(path);
    if (access != accesses_.end() && --access->second.count == 0)
        accesses_.erase(access);
}

} // namespace vennic
