#include "base/SystemReason.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace vennic {

namespace {

constexpr std::array reasons{
    std::pair{EPERM, "opération non permise"},
    std::pair{ENOENT, "fichier ou dossier introuvable"},
    std::pair{EINTR, "opération interrompue"},
    std::pair{EIO, "le disque a signalé une erreur"},
    std::pair{ENXIO, "périphérique absent"},
    std::pair{E2BIG, "trop d'arguments"},
    std::pair{ENOEXEC, "programme d'un format inconnu"},
    std::pair{EBADF, "fichier déjà fermé"},
    std::pair{EAGAIN, "ressource indisponible pour l'instant"},
    std::pair{ENOMEM, "pas assez de mémoire"},
    std::pair{EACCES, "accès refusé"},
    std::pair{EBUSY, "ressource occupée"},
    std::pair{EEXIST, "ce nom est déjà pris"},
    std::pair{EXDEV, "c'est un autre volume"},
    std::pair{ENODEV, "périphérique absent"},
    std::pair{ENOTDIR, "ce n'est pas un dossier"},
    std::pair{EISDIR, "c'est un dossier"},
    std::pair{EINVAL, "paramètre non valable"},
    std::pair{ENFILE, "trop de fichiers sont ouverts sur cette machine"},
    std::pair{EMFILE, "trop de fichiers sont ouverts"},
    std::pair{ETXTBSY, "le programme est en cours d'écriture"},
    std::pair{EFBIG, "fichier trop gros"},
    std::pair{ENOSPC, "il n'y a plus de place sur le disque"},
    std::pair{EROFS, "le disque est en lecture seule"},
    std::pair{EMLINK, "trop de liens"},
    std::pair{EPIPE, "personne ne lit plus de l'autre côté"},
    std::pair{ENAMETOOLONG, "nom trop long"},
    std::pair{ENOSYS, "ce système ne sait pas le faire"},
    std::pair{ENOTEMPTY, "le dossier n'est pas vide"},
    std::pair{ELOOP, "ses liens ne mènent nulle part"},
    std::pair{EOVERFLOW, "valeur trop grande"},
    std::pair{EOPNOTSUPP, "ce système ne sait pas le faire"},
    std::pair{EADDRINUSE, "adresse déjà prise"},
    std::pair{ENETUNREACH, "réseau injoignable"},
    std::pair{ECONNRESET, "connexion interrompue"},
    std::pair{ENOTCONN, "connexion fermée"},
    std::pair{ETIMEDOUT, "délai dépassé"},
    std::pair{ECONNREFUSED, "connexion refusée"},
    std::pair{EHOSTDOWN, "serveur arrêté"},
    std::pair{EHOSTUNREACH, "serveur injoignable"},
    std::pair{ESTALE, "le serveur de fichiers ne le connaît plus"},
    std::pair{EDQUOT, "ton quota sur ce disque est épuisé"},
    std::pair{ECANCELED, "opération annulée"},
};

} // namespace

std::string systemReason(int error) {
    const auto known = std::ranges::find(reasons, error, [](const auto& reason) { return reason.first; });
    return known != reasons.end() ? known->second : "erreur " + std::to_string(error) + " du système";
}

} // namespace vennic
