#pragma once
#include <QString>

namespace vennic::server {

/// What a plain sentence asks for.
struct SimpleRequest {
    enum class Kind { search, read, open, listFolders, listShortcuts, recentPhotos, help };

    Kind kind = Kind::help;
    QString words;    // of a search
    int position = 1; // of a read or an open: which of the documents that were found, from 1
    bool operator==(const SimpleRequest&) const = default;
};

/// Understands a handful of French sentences, whatever their case, accents and politeness: "cherche facture edf",
/// "lis le premier", "ouvre le 3", "liste mes dossiers", "mes raccourcis", "photos récentes". Anything else is a call
/// for help.
SimpleRequest understand(const QString& text);

} // namespace vennic::server
