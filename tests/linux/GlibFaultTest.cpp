#include "linux/GlibFault.h"

#include "base/LocalizedError.h"

#include <gtest/gtest.h>
#include <memory>
#include <tuple>

using namespace vennic;

namespace {

QString faultOf(GQuark domain, int code, const char* words = "Words of GLib") {
    const std::unique_ptr<GError, decltype(&g_error_free)> error(g_error_new_literal(domain, code, words),
                                                                 g_error_free);
    return glibFault(*error);
}

} // namespace

TEST(GlibFaultTest, whatGLibFoundIsSaidInFrenchWhateverTheLocale) {
    const std::tuple<GQuark, int, const char16_t*> rows[]{
        {G_IO_ERROR, G_IO_ERROR_NOT_FOUND, u"Ce fichier n'existe plus."},
        {G_IO_ERROR, G_IO_ERROR_NOT_SUPPORTED, u"Aucune application n'ouvre ce type de fichier."},
        {G_IO_ERROR, G_IO_ERROR_PERMISSION_DENIED, u"L'accès est refusé."},
        {G_IO_ERROR, G_IO_ERROR_FAILED, u"Le système n'a pas pu le faire (erreur 0)."},
        {G_SPAWN_ERROR, G_SPAWN_ERROR_NOENT, u"Le programme est introuvable."},
        {G_SPAWN_ERROR, G_SPAWN_ERROR_ACCES, u"Le programme ne peut pas être lancé : l'accès est refusé."},
        {G_SPAWN_ERROR, G_SPAWN_ERROR_FAILED, u"Le programme n'a pas pu être lancé (erreur 19)."},
        {G_SHELL_ERROR, G_SHELL_ERROR_BAD_QUOTING, u"Sa ligne de commande est mal formée."},
        {G_DBUS_ERROR, G_DBUS_ERROR_SPAWN_CHILD_EXITED, u"Le programme n'a pas pu être lancé."},
        {G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY, u"L'application s'est arrêtée sans répondre."},
    };
    for (const auto& [domain, code, expected] : rows)
        EXPECT_EQ(faultOf(domain, code), QString::fromUtf16(expected)) << g_quark_to_string(domain) << ' ' << code;
}

TEST(GlibFaultTest, whatAProgramSaidOfItselfStandsWithoutTheBusesNameForIt) {
    EXPECT_EQ(faultOf(G_IO_ERROR, G_IO_ERROR_DBUS_ERROR, "GDBus.Error:org.example.No: Pas maintenant."),
              QStringLiteral("Pas maintenant."));
    EXPECT_EQ(faultOf(G_DBUS_ERROR, G_DBUS_ERROR_FAILED, "GDBus.Error:org.freedesktop.DBus.Error.Failed: Occupé."),
              QStringLiteral("Occupé."));
}

TEST(GlibFaultTest, anUnknownFaultIsNamedByItsDomainAndNumber) {
    EXPECT_EQ(faultOf(g_quark_from_static_string("made-up"), 7),
              QStringLiteral("Le système n'a pas pu le faire (made-up, erreur 7)."));
}
