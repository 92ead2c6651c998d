#include "linux/SetAside.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace vennic {

std::optional<QString> setAside(const QString& path, const QString& reason) {
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const QString base = QStringLiteral("%1.%2-%3").arg(path, reason, stamp);
    QString target = base;
    for (int number = 2; QFileInfo::exists(target); ++number)
        target = QStringLiteral("%1-%2").arg(base).arg(number);
    if (!QFile::rename(path, target))
        return std::nullopt;
    // The log belongs to the file: together they may still be read by hand.
    QFile::rename(path + QStringLiteral("-wal"), target + QStringLiteral("-wal"));
    QFile::remove(path + QStringLiteral("-shm"));
    return QFileInfo(target).fileName();
}

} // namespace vennic
