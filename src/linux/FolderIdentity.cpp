#include "linux/FolderIdentity.h"

#include "base/Json.h"
#include "linux/FileDescriptor.h"
#include "linux/NativePath.h"

#include <QJsonDocument>

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

namespace vennic {

namespace {

constexpr qint64 version = 1;
constexpr qsizetype mostBytes = 65'536;
constexpr auto versionKey = QLatin1String("version");
constexpr auto pathKey = QLatin1String("path");
constexpr auto fileSystemKey = QLatin1String("fileSystem");
constexpr auto deviceKey = QLatin1String("device");
constexpr auto inodeKey = QLatin1String("inode");
constexpr auto birthSecondsKey = QLatin1String("birthSeconds");
constexpr auto handleKey = QLatin1String("handle");
constexpr qsizetype mostHandleBytes = 128; // MAX_HANDLE_SZ
constexpr auto birthNanosecondsKey = QLatin1String("birthNanoseconds");

// As text: JSON's numbers don't hold 64 bits everywhere.
quint64 requiredHexadecimal(const QJsonObject& object, QLatin1String key) {
    bool read = false;
    const quint64 number = requiredString(object, key).toULongLong(&read, 16);
    if (!read)
        throw DecodingError(QStringLiteral("%1 n'est pas un nombre.").arg(key));
    return number;
}

/// None in a bookmark of a file system without handles, and in one from before they were kept.
QByteArray handleIn(const QJsonObject& object) {
    const QByteArray text = optionalString(object, handleKey).value_or(QString()).toLatin1();
    const QByteArray handle = QByteArray::fromHex(text);
    if (handle.toHex() != text || handle.size() > mostHandleBytes + qsizetype{sizeof(int)})
        throw DecodingError(QStringLiteral("%1 n'est pas un identifiant de dossier.").arg(handleKey));
    return handle;
}

/// File systems that keep generations on the disk, or as long as their folders. Elsewhere (FUSE, FAT) a handle may be
/// another one after the next mount, and the folder would be lost.
bool keepsHandles(const struct statfs& fileSystem) {
    constexpr decltype(fileSystem.f_type) f2fs = 0xF2F52010; // not in every linux/magic.h
    switch (fileSystem.f_type) {
    case EXT4_SUPER_MAGIC: // of ext2 and ext3 too
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case TMPFS_MAGIC:
    case f2fs:
        return true;
    default:
        return false;
    }
}

} // namespace

bool FolderIdentity::isSameFolder(const FolderIdentity& other) const {
    if (inode != other.inode)
        return false;
    if (hasBirth() && other.hasBirth() &&
        (birthSeconds != other.birthSeconds || birthNanoseconds != other.birthNanoseconds))
        return false;
    return handle.isEmpty() || other.handle.isEmpty() || handle == other.handle;
}

bool FolderIdentity::isOnSameFileSystem(const FolderIdentity& other) const {
    return device == other.device || (fileSystem != 0 && fileSystem == other.fileSystem);
}

std::optional<FolderIdentity> folderIdentity(int parent, const QByteArray& path, bool followLink) {
    struct statx status{};
    const int flags = followLink ? 0 : AT_SYMLINK_NOFOLLOW;
    if (statx(parent < 0 ? AT_FDCWD : parent, path.constData(), flags, STATX_TYPE | STATX_INO | STATX_BTIME, &status) !=
        0)
        return std::nullopt;
    if (!S_ISDIR(status.stx_mode)) {
        errno = ENOTDIR;
        return std::nullopt;
    }
    FolderIdentity identity;
    identity.device = makedev(status.stx_dev_major, status.stx_dev_minor);
    identity.inode = status.stx_ino;
    if ((status.stx_mask & STATX_BTIME) != 0) {
        identity.birthSeconds = status.stx_btime.tv_sec;
        identity.birthNanoseconds = status.stx_btime.tv_nsec;
    }
    return identity;
}

std::optional<FolderIdentity> folderIfSame(const FolderIdentity& wanted, int parent, const QByteArray& path,
                                           bool followLink) {
    auto identity = folderIdentity(parent, path, followLink);
    if (!identity || !identity->isSameFolder(wanted))
        return std::nullopt;
    if (!wanted.handle.isEmpty())
        identity->handle = folderHandle(parent, path, followLink);
    return identity->isSameFolder(wanted) ? identity : std::nullopt;
}

QByteArray folderHandle(int parent, const QByteArray& path, bool followLink) {
    const int flags = O_PATH | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW);
    const FileDescriptor folder(openat(parent < 0 ? AT_FDCWD : parent, path.constData(), flags));
    struct statfs status{};
    if (!folder.isOpen() || fstatfs(folder.number(), &status) != 0 || !keepsHandles(status))
        return {};
    alignas(file_handle) std::array<char, sizeof(file_handle) + mostHandleBytes> room{};
    auto* handle = reinterpret_cast<file_handle*>(room.data());
    handle->handle_bytes = mostHandleBytes;
    int mount = 0;
    if (name_to_handle_at(folder.number(), "", handle, &mount, AT_EMPTY_PATH) != 0)
        return {};
    return QByteArray(reinterpret_cast<const char*>(&handle->handle_type), sizeof handle->handle_type) +
           QByteArray(reinterpret_cast<const char*>(handle->f_handle), static_cast<qsizetype>(handle->handle_bytes));
}

quint64 fileSystemIdentity(const QByteArray& path) {
    struct statfs status{};
    if (statfs(path.constData(), &status) != 0)
        return 0;
    static_assert(sizeof status.f_fsid == sizeof(quint64));
    quint64 identity = 0;
    std::memcpy(&identity, &status.f_fsid, sizeof identity);
    return identity;
}

QByteArray encoded(const FolderIdentity& identity) {
    QJsonObject object{
        {versionKey, version},
        {pathKey, identity.path},
        {fileSystemKey, QString::number(identity.fileSystem, 16)},
        {deviceKey, QString::number(identity.device, 16)},
        {inodeKey, QString::number(identity.inode, 16)},
        {birthSecondsKey, identity.birthSeconds},
        {birthNanosecondsKey, static_cast<qint64>(identity.birthNanoseconds)},
    };
    if (!identity.handle.isEmpty())
        object.insert(handleKey, QString::fromLatin1(identity.handle.toHex()));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<FolderIdentity> decodedFolderIdentity(const QByteArray& bytes) {
    if (bytes.size() > mostBytes)
        return std::nullopt;
    try {
        const QJsonObject object = parseJsonObject(bytes);
        const qint64 nanoseconds = requiredInteger(object, birthNanosecondsKey);
        FolderIdentity identity{
            .path = requiredString(object, pathKey),
            .fileSystem = requiredHexadecimal(object, fileSystemKey),
            .device = requiredHexadecimal(object, deviceKey),
            .inode = requiredHexadecimal(object, inodeKey),
            .birthSeconds = requiredInteger(object, birthSecondsKey),
            .birthNanoseconds = static_cast<quint32>(nanoseconds),
            .handle = handleIn(object),
        };
        const auto path = nativePath(identity.path);
        if (requiredInteger(object, versionKey) != version || nanoseconds < 0 || nanoseconds > 999'999'999 || !path)
            return std::nullopt;
        identity.path = QString::fromUtf8(*path);
        return identity;
    } catch (const LocalizedError&) {
        return std::nullopt;
    }
}

} // namespace vennic
