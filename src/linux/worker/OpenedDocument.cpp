#include "linux/worker/OpenedDocument.h"

#include "base/SystemReason.h"
#include "linux/worker/WorkerFailure.h"

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace vennic {
namespace {

QString named(const QString& path) { return QStringLiteral("Le fichier « %1 » ").arg(QFileInfo(path).fileName()); }

int openReadOnly(const QByteArray& path) {
    open_how how{};
    // O_NONBLOCK: opening a FIFO must not wait for its writer.
    how.flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    how.resolve = RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.constData(), &how, sizeof how));
}

[[noreturn]] void refuse(const QString& path, int number) {
    throw DocumentReadError(DocumentFault::unreadable, unreadableSentence(path, number));
}

quint64 nextNumber() {
    static std::atomic<quint64> last = 0;
    return ++last;
}

} // namespace

OpenedDocument::OpenedDocument(const QString& path, qint64 mostBytes) : number_(nextNumber()), path_(path) {
    if (!path.startsWith(u'/') || path.contains(QChar::Null))
        refuse(path, ENOENT);
    file_ = FileDescriptor(openReadOnly(QFile::encodeName(path)));
    check(mostBytes);
}

OpenedDocument::OpenedDocument(int descriptor, const QString& name, qint64 mostBytes)
    : number_(nextNumber()), path_(name), file_(fcntl(descriptor, F_DUPFD_CLOEXEC, 0)) {
    if (!file_.isOpen() && errno != EBADF) // none is left
        throw WorkerFailure(WorkerFailure::Cause::unavailable, unreadableSentence(path_, errno));
    check(mostBytes);
}

void OpenedDocument::check(qint64 mostBytes) const {
    struct stat status{};
    if (!file_.isOpen() || fstat(file_.number(), &status) != 0)
        refuse(path_, errno);
    if (!S_ISREG(status.st_mode))
        throw DocumentReadError(DocumentFault::unreadable,
                                named(path_) + QStringLiteral("n'est pas un fichier ordinaire."));
    if (status.st_size > mostBytes)
        throw DocumentReadError(DocumentFault::unreadable, tooLargeSentence(path_));
}

qint64 OpenedDocument::size() const {
    struct stat status{};
    return fstat(file_.number(), &status) == 0 ? status.st_size : 0;
}

QString unreadableSentence(const QString& path, int number) {
    switch (number) {
    case ENOENT:
    case ENOTDIR:
        return named(path) + QStringLiteral("n'a pas pu être ouvert car il n'existe pas.");
    case EACCES:
    case EPERM:
        return named(path) + QStringLiteral("n'a pas pu être ouvert car tu n'as pas l'autorisation de le consulter.");
    case ELOOP:
        return named(path) + QStringLiteral("n'a pas pu être ouvert car ses liens ne mènent à aucun fichier.");
    case EIO:
        return named(path) + QStringLiteral("n'a pas pu être lu car le disque a signalé une erreur.");
    default:
        return named(path) +
               QStringLiteral("n'a pas pu être ouvert (%1).").arg(QString::fromStdString(systemReason(number)));
    }
}

QString tooLargeSentence(const QString& path) { return named(path) + QStringLiteral("est trop gros pour être lu."); }

} // namespace vennic
