#include "base/TransportError.h"

namespace vennic {

QString transportFaultText(TransportFault fault) {
    switch (fault) {
    case TransportFault::noNetwork:
        return QStringLiteral("Pas de connexion au réseau.");
    case TransportFault::nameNotFound:
        return QStringLiteral("Le serveur est introuvable.");
    case TransportFault::refused:
        return QStringLiteral("Le serveur a refusé la connexion.");
    case TransportFault::timedOut:
        return QStringLiteral("Le serveur n'a pas répondu à temps.");
    case TransportFault::tlsRefused:
        return QStringLiteral("La connexion sécurisée a été refusée : le certificat du serveur n'est pas reconnu.");
    case TransportFault::cutOff:
        return QStringLiteral("La connexion au serveur a été coupée.");
    case TransportFault::tooLarge:
        return QStringLiteral("La réponse du serveur est trop volumineuse.");
    case TransportFault::badAnswer:
        return QStringLiteral("Le serveur a envoyé une réponse incompréhensible.");
    case TransportFault::badRequest:
        return QStringLiteral("La requête n'a pas pu être envoyée.");
    case TransportFault::cancelled:
        return QStringLiteral("La requête a été annulée.");
    }
    Q_UNREACHABLE();
}

} // namespace vennic
