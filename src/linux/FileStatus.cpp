#include "linux/FileStatus.h"

namespace vennic {

namespace {

QDateTime moment(const statx_timestamp& at) {
    return QDateTime::fromMSecsSinceEpoch(at.tv_sec * 1000 + at.tv_nsec / 1'000'000, Qt::UTC);
}

} // namespace

FileValues fileValues(const struct statx& status) {
    FileValues values;
    values.isDirectory = S_ISDIR(status.stx_mode);
    if (S_ISREG(status.stx_mode) && (status.stx_mask & STATX_SIZE) != 0)
        values.size = static_cast<qint64>(status.stx_size);
    if ((status.stx_mask & STATX_MTIME) != 0)
        values.changedAt = moment(status.stx_mtime);
    return values;
}

} // namespace vennic
