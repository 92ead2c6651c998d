#include "linux/FolderIdentity.h"

#include "base/Json.h"
#include "linux/NativePath.h"

#include <QJsonDocument>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
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
constexpr auto birthNanosecondsKey = QLatin1String("birthNanoseconds");

// As text: JSON's numbers don't hold 64 bits everywhere.
quint64 requiredHexadecimal(const QJsonObject& object, QLatin1String key) {
    bool read = false;
    const quint64 number = requiredString(object, key).toULongLong(&read, 16);
    if (!read)
        throw DecodingError(QStringLiteral("%1 n'est pas un nombre.").arg(key));
    return number;
}

} // namespace

bool FolderIdentity::isSameFolder(const FolderIdentity& other) const {
    if (inode != other.inode)
        return false;
    return !hasBirth() || !other.hasBirth() ||
           (birthSeconds == other.birthSeconds && birthNanoseconds == other.birthNanoseconds);
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
    const QJsonObject object{
        {versionKey, version},
        {pathKey, identity.path},
        {fileSystemKey, QString::number(identity.fileSystem, 16)},
        {deviceKey, QString::number(identity.device, 16)},
        {inodeKey, QString::number(identity.inode, 16)},
        {birthSecondsKey, identity.birthSeconds},
        {birthNanosecondsKey, static_cast<qint64>(identity.birthNanoseconds)},
    };
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
