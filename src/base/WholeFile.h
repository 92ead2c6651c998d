#pragma once
#include <QByteArray>
#include <QString>

namespace vennic {

/// Has the file at `path` hold `content`, in place of what it held; the folders above it are made when they are
/// missing. The old file stays until the new one is whole, and when that fails. Raises LocalizedError with the system's
/// reason.
void writeWholeFile(const QString& path, const QByteArray& content);
/// Makes a folder and those above it, where they are missing. Raises LocalizedError with the system's reason.
void makeFolder(const QString& path);

} // namespace vennic
