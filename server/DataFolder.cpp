#include "server/DataFolder.h"

#include "base/LocalizedError.h"
#include "base/SystemReason.h"
#include "server/Secrets.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vennic::server {

namespace {
constexpr qint64 longestFile = 65'536;
constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr auto readable = ownerOnly | QFileDevice::ReadGroup | QFileDevice::ReadOther;
/// Of the call that has just failed; Qt's own words are English.
QString lastReason() { return QString::fromStdString(systemReason(errno)); }

const auto ownerKeyName = QStringLiteral("owner.key");
const auto portName = QStringLiteral("port");
} // namespace

DataFolder::DataFolder(const QString& path) : folder_(QDir(path).absolutePath()) {
    if (!QDir().mkpath(folder_) || !QFile::setPermissions(folder_, ownerOnly | QFileDevice::ExeOwner))
        throw LocalizedError(QStringLiteral("Impossible d'utiliser le dossier %1.").arg(folder_));
    lock_ = ::open(QFile::encodeName(DataFolder::path(QStringLiteral("lock"))).constData(),
                   O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0 || flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        if (lock_ >= 0)
            ::close(lock_);
        throw LocalizedError(QStringLiteral("Un autre serveur utilise déjà le dossier %1.").arg(folder_));
    }
}

DataFolder::~DataFolder() { ::close(lock_); }

QString DataFolder::path(const QString& name) const { return folder_ + u'/' + name; }

std::optional<QByteArray> DataFolder::read(const QString& name) const {
    QFile file(path(name));
    if (!file.exists())
        return std::nullopt;
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(QStringLiteral("Impossible de lire %1 : %2.").arg(file.fileName(), lastReason()));
    return file.read(longestFile);
}

void writeWhole(const QString& path, const QByteArray& bytes, bool secret) {
    QSaveFile file(path);
    // The permissions come before the first byte; flushed by itself, because committing what couldn't be flushed makes
    // calls of its own.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(secret ? ownerOnly : readable) ||
        file.write(bytes) != bytes.size() || !file.flush() || !file.commit())
        throw LocalizedError(QStringLiteral("Impossible d'écrire %1 : %2.").arg(path, lastReason()));
}

void DataFolder::writeSecret(const QString& name, const QByteArray& bytes) const {
    writeWhole(path(name), bytes, true);
}
void DataFolder::writePublic(const QString& name, const QByteArray& bytes) const {
    writeWhole(path(name), bytes, false);
}

QByteArray DataFolder::ownerKey() const {
    if (const auto kept = read(ownerKeyName); kept && !kept->trimmed().isEmpty())
        return kept->trimmed();
    const QByteArray key = newSecret();
    writeSecret(ownerKeyName, key + '\n');
    return key;
}

quint16 DataFolder::port() const { return read(portName).value_or(QByteArray{}).trimmed().toUShort(); }

void DataFolder::keepPort(quint16 port) const { writePublic(portName, QByteArray::number(port) + '\n'); }

} // namespace vennic::server
