#include "linux/GlibFault.h"

#include "base/LocalizedError.h"

#include <memory>

namespace vennic {

namespace {

QString ofFiles(int code) {
    switch (code) {
    case G_IO_ERROR_NOT_FOUND:
        return QStringLiteral("Ce fichier n'existe plus.");
    case G_IO_ERROR_PERMISSION_DENIED:
        return QStringLiteral("L'accès est refusé.");
    case G_IO_ERROR_NOT_SUPPORTED:
        return QStringLiteral("Aucune application n'ouvre ce type de fichier.");
    case G_IO_ERROR_NOT_DIRECTORY:
        return QStringLiteral("Ce n'est pas un dossier.");
    case G_IO_ERROR_TOO_MANY_OPEN_FILES:
        return QStringLiteral("Trop de fichiers sont ouverts.");
    case G_IO_ERROR_NO_SPACE:
        return QStringLiteral("Il n'y a plus de place sur le disque.");
    default:
        return QStringLiteral("Le système n'a pas pu le faire (erreur %1).").arg(code);
    }
}

QString ofPrograms(int code) {
    switch (code) {
    case G_SPAWN_ERROR_NOENT:
    case G_SPAWN_ERROR_NOTDIR:
        return QStringLiteral("Le programme est introuvable.");
    case G_SPAWN_ERROR_ACCES:
    case G_SPAWN_ERROR_PERM:
        return QStringLiteral("Le programme ne peut pas être lancé : l'accès est refusé.");
    case G_SPAWN_ERROR_NOEXEC:
        return QStringLiteral("Le programme est d'un format inconnu.");
    default:
        return QStringLiteral("Le programme n'a pas pu être lancé (erreur %1).").arg(code);
    }
}

/// The bus's own errors; empty for those with which programs speak.
QString ofTheBus(int code) {
    switch (code) {
    case G_DBUS_ERROR_SERVICE_UNKNOWN:
    case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
    case G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND:
        return QStringLiteral("Personne ne répond à ce nom sur le bus de la session.");
    case G_DBUS_ERROR_NO_REPLY:
    case G_DBUS_ERROR_DISCONNECTED:
    case G_DBUS_ERROR_NO_SERVER:
        return QStringLiteral("L'application s'est arrêtée sans répondre.");
    case G_DBUS_ERROR_UNKNOWN_METHOD:
    case G_DBUS_ERROR_UNKNOWN_OBJECT:
    case G_DBUS_ERROR_UNKNOWN_INTERFACE:
        return QStringLiteral("L'application ne sait pas le faire.");
    case G_DBUS_ERROR_SPAWN_EXEC_FAILED:
    case G_DBUS_ERROR_SPAWN_FORK_FAILED:
    case G_DBUS_ERROR_SPAWN_CHILD_EXITED:
    case G_DBUS_ERROR_SPAWN_CHILD_SIGNALED:
    case G_DBUS_ERROR_SPAWN_FAILED:
    case G_DBUS_ERROR_SPAWN_SETUP_FAILED:
    case G_DBUS_ERROR_SPAWN_CONFIG_INVALID:
    case G_DBUS_ERROR_SPAWN_SERVICE_INVALID:
    case G_DBUS_ERROR_SPAWN_PERMISSIONS_INVALID:
    case G_DBUS_ERROR_SPAWN_FILE_INVALID:
    case G_DBUS_ERROR_SPAWN_NO_MEMORY:
        return QStringLiteral("Le programme n'a pas pu être lancé.");
    default:
        return {};
    }
}

/// The error's words without the name that D-Bus puts before them.
QString inItsWords(const GError& error) {
    GError* copy = g_error_copy(&error);
    g_dbus_error_strip_remote_error(copy);
    const QString words = QString::fromUtf8(copy->message);
    g_error_free(copy);
    return words;
}

} // namespace

QString glibFault(const GError& error) {
    if (error.domain == G_DBUS_ERROR) {
        const QString known = ofTheBus(error.code);
        return known.isEmpty() ? inItsWords(error) : known;
    }
    if (error.domain == G_IO_ERROR)
        return error.code == G_IO_ERROR_DBUS_ERROR ? inItsWords(error) : ofFiles(error.code);
    if (error.domain == G_SPAWN_ERROR)
        return ofPrograms(error.code);
    if (error.domain == G_SHELL_ERROR)
        return QStringLiteral("Sa ligne de commande est mal formée.");
    return QStringLiteral("Le système n'a pas pu le faire (%1, erreur %2).")
        .arg(QString::fromUtf8(g_quark_to_string(error.domain)), QString::number(error.code));
}

void raiseGlibError(GError* error) {
    const std::unique_ptr<GError, decltype(&g_error_free)> owned(error, &g_error_free);
    throw LocalizedError(glibFault(*owned));
}

} // namespace vennic
