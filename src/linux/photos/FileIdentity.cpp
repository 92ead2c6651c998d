#include "linux/photos/FileIdentity.h"

#include "linux/index/FileTime.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace vennic::photos {

std::uint64_t volumeIdentifier(int folder) {
    struct statfs status{};
    std::uint64_t identifier = 0;
    static_assert(sizeof status.f_fsid == sizeof identifier);
    if (fstatfs(folder, &status) == 0)
        std::memcpy(&identifier, &status.f_fsid, sizeof identifier);
    return identifier;
}

std::optional<FileOnDisk> fileAt(int folder, const std::string& name, std::uint64_t volume) {
    struct statx status{};
    if (statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, STATX_BASIC_STATS | STATX_BTIME,
              &status) != 0 ||
        !S_ISREG(status.stx_mode))
        return std::nullopt;
    FileOnDisk file;
    file.identity.volume = volume;
    file.identity.inode = status.stx_ino;
    if ((status.stx_mask & STATX_BTIME) != 0)
        file.identity.birth = index::fileTime(status.stx_btime);
    file.modified = index::fileTime(status.stx_mtime);
    file.changed = index::fileTime(status.stx_ctime);
    file.size = static_cast<std::int64_t>(status.stx_size);
    return file;
}

} // namespace vennic::photos
