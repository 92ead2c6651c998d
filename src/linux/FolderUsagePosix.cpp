#include "linux/FolderUsagePosix.h"

#include "base/SystemReason.h"
#include "linux/NativePath.h"

#include <cerrno>
#include <filesystem>
#include <fts.h>
#include <memory>
#include <set>
#include <sys/stat.h>

namespace vennic {

namespace {

constexpr qint64 blockBytes = 512;

struct CloseWalk {
    void operator()(FTS* walk) const { fts_close(walk); }
};

} // namespace

qint64 FolderUsagePosix::allocatedBytes(const QString& path) {
    const auto native = nativePath(path);
    if (!native)
        return 0;
    QByteArray root = *native;
    char* roots[] = {root.data(), nullptr};
    const std::unique_ptr<FTS, CloseWalk> walk(fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr));
    if (!walk)
        return 0;
    qint64 bytes = 0;
    std::set<std::pair<dev_t, ino_t>> seen; // files of several names
    while (const FTSENT* entry = fts_read(walk.get())) {
        if (entry->fts_info == FTS_DP || entry->fts_info == FTS_NS || entry->fts_info == FTS_ERR)
            continue; // left again, or not readable
        const struct stat& status = *entry->fts_statp;
        if (status.st_nlink > 1 && !S_ISDIR(status.st_mode) && !seen.emplace(status.st_dev, status.st_ino).second)
            continue;
        bytes += static_cast<qint64>(status.st_blocks) * blockBytes;
    }
    return bytes;
}

void FolderUsagePosix::removeFolder(const QString& path) {
    const auto native = nativePath(path);
    std::error_code error = std::make_error_code(std::errc::no_such_file_or_directory);
    if (native)
        std::filesystem::remove_all(native->toStdString(), error);
    if (error)
        throw LocalizedError(QStringLiteral("Le dossier « %1 » n'a pas pu être supprimé (%2).")
                                 .arg(path, QString::fromStdString(systemReason(error.value()))));
}

} // namespace vennic
