#include "linux/FolderWalkPosix.h"

#include "linux/NativePath.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace vennic {

namespace {

// The head of an entry of getdents64(2); the name, which ends with a NUL, follows the type.
struct EntryHead {
    quint64 inode;
    qint64 position; // of the next entry
    unsigned short length;
    unsigned char type;
};
constexpr std::size_t nameOffset = 19;

FileDescriptor openFolder(int parent, const char* name, int extraFlags) {
    const int flags = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC | extraFlags;
    FileDescriptor folder(openat(parent, name, flags | O_NOATIME));
    if (!folder.isOpen() && errno == EPERM) // another user's folder
        folder = FileDescriptor(openat(parent, name, flags));
    return folder;
}

// Nearly all names are plain ASCII, which needs no second allocation. False when the name isn't text.
bool append(QString& path, QByteArrayView name) {
    if (std::ranges::all_of(name, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        path += QLatin1String(name);
        return true;
    }
    if (!QUtf8StringView(name).isValidUtf8())
        return false;
    path += QString::fromUtf8(name);
    return true;
}

bool isFolderWithin(const FileDescriptor& folder, quint64 device, quint64 inode) {
    struct stat status{};
    return folder.isOpen() && fstat(folder.number(), &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

} // namespace

struct FolderWalkPosix::Entry {
    const char* name;
    unsigned char type;
};

std::unique_ptr<FolderWalk> FolderWalkPosix::open(const QString& root) {
    auto path = nativePath(root);
    if (!path)
        return nullptr;
    FileDescriptor folder = openFolder(AT_FDCWD, path->constData(), 0);
    if (!folder.isOpen())
        return nullptr;
    if (!path->endsWith('/'))
        path->append('/');
    std::unique_ptr<FolderWalkPosix> walk(new FolderWalkPosix);
    walk->push(std::move(folder), QString::fromUtf8(*path), path->size());
    return walk;
}

std::optional<QString> FolderWalkPosix::next() {
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (level.at >= level.filled && !fill(level)) {
            leave();
            continue;
        }
        const char* const start = level.buffer.get() + level.at;
        EntryHead head{};
        std::memcpy(&head, start, nameOffset);
        level.at += head.length;
        const Entry entry{start + nameOffset, head.type};
        if (entry.name[0] == '.')
            continue; // hidden, and the two that every folder has
        const auto length = static_cast<qsizetype>(std::strlen(entry.name));
        if (level.pathBytes + length >= PATH_MAX)
            continue;
        QString path;
        path.reserve(level.path.size() + length + 1);
        path += level.path;
        if (!append(path, {entry.name, length}))
            continue;
        if (levels_.size() < mostLevels && isFolder(level, entry))
            enter(entry.name, path + u'/', level.pathBytes + length + 1);
        return path;
    }
    return std::nullopt;
}

bool FolderWalkPosix::fill(Level& level) {
    const ssize_t got = getdents64(level.folder.number(), level.buffer.get(), bufferBytes);
    level.at = 0;
    level.filled = got > 0 ? static_cast<std::size_t>(got) : 0;
    for (std::size_t at = 0; at < level.filled;) {
        EntryHead head{};
        std::memcpy(&head, level.buffer.get() + at, nameOffset);
        level.position = head.position;
        at += head.length;
    }
    return level.filled > 0;
}

bool FolderWalkPosix::isFolder(const Level& level, const Entry& entry) {
    if (entry.type != DT_UNKNOWN)
        return entry.type == DT_DIR;
    struct stat status{};
    return fstatat(level.folder.number(), entry.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

void FolderWalkPosix::enter(const char* name, QString path, qsizetype pathBytes) {
    FileDescriptor folder = openFolder(levels_.back().folder.number(), name, O_NOFOLLOW);
    if (!folder.isOpen())
        return;
    push(std::move(folder), std::move(path), pathBytes);
    if (levels_.size() > mostOpenLevels)
        suspend(levels_[levels_.size() - 1 - mostOpenLevels]);
}

void FolderWalkPosix::push(FileDescriptor folder, QString path, qsizetype pathBytes) {
    Level level;
    level.folder = std::move(folder);
    level.path = std::move(path);
    level.pathBytes = pathBytes;
    if (spareBuffers_.empty()) {
        level.buffer = std::make_unique_for_overwrite<char[]>(bufferBytes);
    } else {
        level.buffer = std::move(spareBuffers_.back());
        spareBuffers_.pop_back();
    }
    levels_.push_back(std::move(level));
}

void FolderWalkPosix::suspend(Level& level) {
    struct stat status{};
    if (level.folder.isOpen() && fstat(level.folder.number(), &status) == 0) {
        level.device = status.st_dev;
        level.inode = status.st_ino;
    }
    level.folder.close();
}

// The level is done. The one above may have to be opened again; when it isn't where it was, it is done too.
void FolderWalkPosix::leave() {
    FileDescriptor child = std::move(levels_.back().folder);
    spareBuffers_.push_back(std::move(levels_.back().buffer));
    levels_.pop_back();
    while (!levels_.empty() && !levels_.back().folder.isOpen() && !reopen(levels_.back(), child)) {
        spareBuffers_.push_back(std::move(levels_.back().buffer));
        levels_.pop_back();
    }
}

bool FolderWalkPosix::reopen(Level& level, const FileDescriptor& child) {
    FileDescriptor folder = openFolder(child.number(), "..", 0);
    if (!isFolderWithin(folder, level.device, level.inode))
        folder = openFolder(AT_FDCWD, level.path.toUtf8().constData(), O_NOFOLLOW);
    if (!isFolderWithin(folder, level.device, level.inode) ||
        (level.position != 0 && lseek(folder.number(), level.position, SEEK_SET) < 0))
        return false;
    level.folder = std::move(folder);
    return true;
}

} // namespace vennic
