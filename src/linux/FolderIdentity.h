#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// What tells a folder from all others of the machine, also after a rename.
struct FolderIdentity {
    QString path;
    quint64 fileSystem = 0; // statfs(2) f_fsid, which outlasts a restart on most file systems; 0 when there is none
    quint64 device = 0;     // of the present mount
    quint64 inode = 0;
    qint64 birthSeconds = 0; // with the nanoseconds: when it was made; both 0 when the file system doesn't say
    quint32 birthNanoseconds = 0;
    QByteArray handle; // see folderHandle; empty when unknown
    bool operator==(const FolderIdentity&) const = default;

    bool hasBirth() const { return birthSeconds != 0 || birthNanoseconds != 0; }
    /// Inode numbers are given again: a time of birth and a handle that both know must be the same.
    bool isSameFolder(const FolderIdentity& other) const;
    bool isOnSameFileSystem(const FolderIdentity& other) const;
};

/// The folder at `path`, seen from the descriptor `parent` or, when that is negative, absolute; `fileSystem` and
/// `handle` are left out, they cost calls more. None, with errno, when there is no folder.
std::optional<FolderIdentity> folderIdentity(int parent, const QByteArray& path, bool followLink);
/// The same with its handle where everything else is the wanted folder's; none when it is not that folder.
std::optional<FolderIdentity> folderIfSame(const FolderIdentity& wanted, int parent, const QByteArray& path,
                                           bool followLink);
/// What name_to_handle_at(2) says, with its type: it holds the inode's generation, which tells apart two folders that
/// had one inode number within one tick of the clock. At most 132 bytes; empty where the file system gives none or
/// isn't known to give the same one after the next mount.
QByteArray folderHandle(int parent, const QByteArray& path, bool followLink);
/// The file system's own identifier; 0 when there is none.
quint64 fileSystemIdentity(const QByteArray& path);

/// The identity as bytes to store: a JSON object with a version.
QByteArray encoded(const FolderIdentity& identity);
/// None for anything that `encoded` doesn't give; 64 KiB at most.
std::optional<FolderIdentity> decodedFolderIdentity(const QByteArray& bytes);

} // namespace vennic
