#include "linux/FolderFault.h"

#include "base/SystemReason.h"

#include <cerrno>

namespace vennic {

QString folderFault(int error) {
    switch (error) {
    case ENOENT:
        return QStringLiteral("ce dossier n'existe pas");
    case ENOTDIR:
        return QStringLiteral("ce n'est pas un dossier");
    case EACCES:
    case EPERM:
        return QStringLiteral("tu n'as pas l'autorisation d'y accéder");
    case ELOOP:
        return QStringLiteral("ses liens symboliques ne mènent nulle part");
    case ENAMETOOLONG:
        return QStringLiteral("son chemin est trop long");
    case EIO:
        return QStringLiteral("le disque a signalé une erreur");
    case EINVAL:
        return QStringLiteral("son chemin n'est pas valable");
    default:
        return QString::fromStdString(systemReason(error));
    }
}

} // namespace vennic
