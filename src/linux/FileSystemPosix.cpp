#include "linux/FileSystemPosix.h"

#include "linux/FileStatus.h"
#include "linux/FolderListingPosix.h"
#include "linux/FolderWalkPosix.h"
#include "linux/NativePath.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>

namespace vennic {

namespace {

// None when the bytes name no absolute path that text can hold.
std::optional<QString> folderPath(const char* bytes) {
    if (bytes == nullptr || *bytes != '/' || !QUtf8StringView(bytes).isValidUtf8())
        return std::nullopt;
    QString path = QString::fromUtf8(bytes);
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

} // namespace

std::optional<FileValues> FileSystemPosix::values(const QString& path) {
    const auto native = nativePath(path);
    if (!native)
        return std::nullopt;
    struct statx status{};
    if (statx(AT_FDCWD, native->constData(), 0, fileStatusMask, &status) != 0) {
        switch (errno) {
        case EACCES:
        case EPERM:
        case EIO:
        case ENOMEM:
        case ETIMEDOUT:
        case ESTALE:
            return FileValues{};
        default:
            return std::nullopt;
        }
    }
    FileValues values = fileValues(status);
    values.volumeIsLocal = volumes_.isLocal(status.stx_dev_major, status.stx_dev_minor, *native);
    return values;
}

std::unique_ptr<FolderWalk> FileSystemPosix::walk(const QString& root) { return FolderWalkPosix::open(root); }

std::unique_ptr<FolderListing> FileSystemPosix::list(const QString& path) { return FolderListingPosix::open(path); }

QString FileSystemPosix::homeDirectory() {
    if (const auto home = folderPath(std::getenv("HOME")))
        return *home;
    std::array<char, 16384> buffer{};
    passwd account{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &account, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        if (const auto home = folderPath(found->pw_dir))
            return *home;
    return QStringLiteral("/");
}

} // namespace vennic
