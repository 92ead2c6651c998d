#pragma once
#include "linux/index/Catalogue.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vennic::photos {

/// What tells a file from all others, whatever its name is.
struct FileIdentity {
    std::uint64_t volume = 0; // statfs(2) f_fsid
    std::uint64_t inode = 0;
    std::int64_t birth = 0; // nanoseconds since 1970; 0 where the file system doesn't say
    bool operator==(const FileIdentity&) const = default;
};

/// A file as it stands on disk.
struct FileOnDisk {
    FileIdentity identity;
    std::int64_t modified = 0; // nanoseconds since 1970
    std::int64_t changed = 0;  // of the inode, nanoseconds since 1970
    std::int64_t size = 0;
    bool operator==(const FileOnDisk&) const = default;

    bool hasSameStamps(const index::Entry& entry) const {
        return modified == entry.modified && changed == entry.changed && size == entry.size;
    }
    bool hasSameContent(const FileOnDisk& other) const { return modified == other.modified && size == other.size; }
    /// Whether both are one file. Inode numbers are given again: where no time of birth tells, the content has to.
    bool isSameFile(const FileOnDisk& other) const {
        return identity == other.identity && (identity.birth != 0 || hasSameContent(other));
    }
};

/// The volume that an open folder lies on; 0 where it has no identifier.
std::uint64_t volumeIdentifier(int folder);
/// The regular file of that name in an open folder of that volume, links not followed.
std::optional<FileOnDisk> fileAt(int folder, const std::string& name, std::uint64_t volume);

} // namespace vennic::photos
