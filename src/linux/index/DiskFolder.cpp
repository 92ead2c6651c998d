#include "linux/index/DiskFolder.h"

#include "linux/index/FileTime.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <linux/magic.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>

namespace vennic::index {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct KernelEntry { // of getdents64
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

Entry fromStatx(const struct statx& status) {
    Entry entry;
    entry.kind = S_ISREG(status.stx_mode)   ? EntryKind::file
                 : S_ISDIR(status.stx_mode) ? EntryKind::folder
                                            : EntryKind::other;
    entry.modified = fileTime(status.stx_mtime);
    entry.changed = fileTime(status.stx_ctime);
    entry.size = static_cast<std::int64_t>(status.stx_size);
    if (entry.kind == EntryKind::folder) { // its own size means nothing; its inode's changes are those of its list
        entry.size = 0;
        entry.changed = 0;
    }
    return entry;
}

std::optional<Entry> statusOf(int folder, const char* name, int flags) {
    struct statx status{};
    if (statx(folder, name, flags | AT_STATX_DONT_SYNC, STATX_BASIC_STATS, &status) != 0)
        return std::nullopt;
    return fromStatx(status);
}

} // namespace

FileDescriptor openFolderAt(int folder, const std::string& name) {
    return FileDescriptor(openat(folder, name.c_str(), folderFlags));
}

FileDescriptor openFolder(std::span<const std::string> components) {
    if (components.empty()) {
        errno = ENOENT;
        return {};
    }
    FileDescriptor folder(open("/", folderFlags));
    const auto descend = [&](const std::string& name) {
        if (folder.isOpen() && !name.empty())
            folder = openFolderAt(folder.number(), name);
    };
    const std::string& root = components.front();
    for (std::size_t at = 0; at < root.size();) {
        const std::size_t slash = std::min(root.find('/', at), root.size());
        descend(root.substr(at, slash - at));
        at = slash + 1;
    }
    for (const std::string& name : components.subspan(1))
        descend(name);
    return folder;
}

FileDescriptor openFileAt(int folder, const std::string& name) {
    FileDescriptor file(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status{};
    if (file.isOpen() && (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))) {
        errno = EINVAL;
        return {};
    }
    return file;
}

std::optional<Entry> statAt(int folder, const std::string& name) {
    auto entry = statusOf(folder, name.c_str(), AT_SYMLINK_NOFOLLOW);
    if (entry)
        entry->name = name;
    return entry;
}

std::optional<Entry> statOf(int file) { return statusOf(file, "", AT_EMPTY_PATH); }

bool tellsOfAbsence(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EACCES || error == EPERM ||
           error == ENAMETOOLONG;
}

std::optional<Listing> listFolder(int folder) {
    Listing listing;
    alignas(8) std::array<char, 32768> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): the kernel fills it
    if (lseek(folder, 0, SEEK_SET) < 0)
        return std::nullopt;
    for (;;) {
        const long got = syscall(SYS_getdents64, folder, buffer.data(), buffer.size());
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            return listing;
        for (long at = 0; at < got;) {
            const auto* raw = reinterpret_cast<const KernelEntry*>(buffer.data() + at);
            at += raw->length;
            if (raw->name[0] == '.')
                continue;
            auto entry = statusOf(folder, raw->name, AT_SYMLINK_NOFOLLOW);
            if (!entry) {
                if (!tellsOfAbsence(errno))
                    listing.unseen.emplace_back(raw->name);
                continue; // gone since
            }
            entry->name = raw->name;
            listing.entries.push_back(std::move(*entry));
        }
    }
}

Volume volumeOf(int folder) {
    struct statfs status{};
    if (fstatfs(folder, &status) != 0)
        return Volume::ordinary;
    switch (static_cast<unsigned long>(status.f_type)) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case DEVPTS_SUPER_MAGIC:
    case SECURITYFS_MAGIC:
    case BPF_FS_MAGIC:
        return Volume::none;
    case NFS_SUPER_MAGIC:
    case SMB_SUPER_MAGIC:
    case CIFS_SUPER_MAGIC:
    case SMB2_SUPER_MAGIC:
    case V9FS_MAGIC:
    case AFS_SUPER_MAGIC:
    case CODA_SUPER_MAGIC:
    case FUSE_SUPER_MAGIC:
        return Volume::remote;
    default:
        return Volume::ordinary;
    }
}

std::string canonicalPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    if (real)
        return real.get();
    std::string clean = std::filesystem::path(path).lexically_normal().string();
    while (clean.size() > 1 && clean.back() == '/')
        clean.pop_back();
    return clean;
}

std::optional<std::string> pathBelow(const std::string& path, const std::string& ancestor) {
    if (path == ancestor)
        return std::string();
    const std::string prefix = ancestor == "/" ? ancestor : ancestor + '/';
    if (path.starts_with(prefix))
        return path.substr(prefix.size());
    return std::nullopt;
}

bool leadsThroughHidden(std::string_view relative) {
    return relative.starts_with('.') || relative.find("/.") != std::string_view::npos;
}

} // namespace vennic::index
