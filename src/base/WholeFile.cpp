#include "base/WholeFile.h"

#include "base/Localized.h"
#include "base/LocalizedError.h"
#include "base/SystemReason.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <filesystem>

namespace vennic {

namespace {

/// `sentence` takes the path and the reason for errno's `error`: Qt's own words are English.
LocalizedError failure(const char* sentence, const QString& path, int error) {
    return LocalizedError(localized(sentence).arg(path, QString::fromStdString(systemReason(error))));
}

} // namespace

void writeWholeFile(const QString& path, const QByteArray& content) {
    makeFolder(QFileInfo(path).path());
    const char* const sentence = "%1 ne peut pas être écrit : %2";
    if (QFileInfo(path).isDir())
        throw failure(sentence, path, EISDIR); // QSaveFile asks no system call, which would say so
    QSaveFile file(path);
    // Flushed by itself: committing what couldn't be flushed makes calls of its own.
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush() || !file.commit())
        throw failure(sentence, path, errno);
}

void makeFolder(const QString& path) {
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(path).toStdString(), error);
    if (error)
        throw failure("Le dossier %1 ne peut pas être créé : %2", path, error.value());
}

} // namespace vennic
