#include "linux/SystemMemoryProc.h"

#include <QFile>

#include <limits>
#include <sys/sysinfo.h>

namespace vennic {

namespace {

constexpr qint64 enough = 64LL * 1024; // bytes; the file is some 1.5 KB

/// The number of kB behind `key`, in bytes.
std::optional<qint64> field(QByteArrayView text, QByteArrayView key) {
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype end = text.indexOf('\n', at);
        const QByteArrayView line = text.sliced(at, (end < 0 ? text.size() : end) - at);
        at += line.size() + 1;
        if (!line.startsWith(key))
            continue;
        QByteArrayView value = line.sliced(key.size()).trimmed();
        if (!value.endsWith(QByteArrayView(" kB")))
            return std::nullopt;
        bool isNumber = false;
        const qint64 kilobytes = value.chopped(3).trimmed().toLongLong(&isNumber);
        const bool usable = isNumber && kilobytes >= 0 && kilobytes <= std::numeric_limits<qint64>::max() / 1024;
        return usable ? std::optional(kilobytes * 1024) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<qint64> totalOfTheSystem() {
    struct sysinfo info{};
    if (sysinfo(&info) != 0)
        return std::nullopt;
    return static_cast<qint64>(info.totalram) * info.mem_unit;
}

} // namespace

MemoryUse SystemMemoryProc::parse(QByteArrayView text) {
    const auto total = field(text, "MemTotal:");
    const auto available = field(text, "MemAvailable:");
    if (!total || !available || *available > *total)
        return {.used = {}, .total = total};
    return {.used = *total - *available, .total = total};
}

MemoryUse SystemMemoryProc::use() const {
    QFile file(QFile::decodeName(file_));
    MemoryUse use;
    if (file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        use = parse(file.read(enough));
    if (!use.total)
        use.total = totalOfTheSystem();
    return use;
}

} // namespace vennic
