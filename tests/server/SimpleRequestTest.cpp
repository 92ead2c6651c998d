#include "server/SimpleRequest.h"

#include <gtest/gtest.h>

namespace vennic::server {
namespace {

using Kind = SimpleRequest::Kind;

SimpleRequest of(const char* text) { return understand(QString::fromUtf8(text)); }

TEST(SimpleRequest, aSearchKeepsItsWordsAsTheyWereWritten) {
    for (const auto& [text, words] : std::initializer_list<std::pair<const char*, const char*>>{
             {"cherche facture edf", "facture edf"},
             {"Cherche-moi Facture EDF ?", "Facture EDF"},
             {"peux-tu rechercher « contrat d’assurance » ?", "contrat d’assurance"},
             {"Trouve les documents sur Été 2024", "Été 2024"},
             {"  cherche\n  deux   blancs ", "deux blancs"},
             {"recherche lis", "lis"}})
        EXPECT_EQ(of(text), (SimpleRequest{Kind::search, QString::fromUtf8(words), 1})) << text;
}

TEST(SimpleRequest, aReadNamesWhichByWordOrNumber) {
    for (const auto& [text, position] : std::initializer_list<std::pair<const char*, int>>{{"lis le premier", 1},
                                                                                           {"Lis-moi le DEUXIÈME !", 2},
                                                                                           {"lire le second", 2},
                                                                                           {"lis le 3", 3},
                                                                                           {"lis le numéro 12", 12},
                                                                                           {"lis", 1}})
        EXPECT_EQ(of(text), (SimpleRequest{Kind::read, {}, position})) << text;
    EXPECT_EQ(of("ouvre le cinquième"), (SimpleRequest{Kind::open, {}, 5}));
}

TEST(SimpleRequest, listsAreAskedForByTheirNouns) {
    EXPECT_EQ(of("liste mes dossiers").kind, Kind::listFolders);
    EXPECT_EQ(of("Quels dossiers sont partagés ?").kind, Kind::listFolders);
    EXPECT_EQ(of("mes raccourcis").kind, Kind::listShortcuts);
    EXPECT_EQ(of("photos récentes").kind, Kind::recentPhotos);
}

TEST(SimpleRequest, anythingElseIsACallForHelp) {
    for (const char* text : {"", "bonjour", "aide", "cherche", "cherche   ?", "lisible", "📎"})
        EXPECT_EQ(of(text).kind, Kind::help) << text;
}

} // namespace
} // namespace vennic::server
