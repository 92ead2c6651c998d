#include "linux/photos/PicturesFolder.h"

#include "linux/index/DiskFolder.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace vennic::photos {

namespace {

std::string bytesOf(const QString& path) { return QFile::encodeName(path).toStdString(); }

} // namespace

QString asPicturesFolder(const QString& path, const QString& home) {
    if (!QDir::isAbsolutePath(path))
        return {};
    const std::string folder = index::canonicalPath(bytesOf(path));
    // Nobody who says yes to their pictures means all of their files.
    if (index::pathBelow(index::canonicalPath(bytesOf(home)), folder))
        return {};
    return QFile::decodeName(QByteArray::fromStdString(folder));
}

QString picturesFolder() {
    return asPicturesFolder(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation), QDir::homePath());
}

} // namespace vennic::photos
