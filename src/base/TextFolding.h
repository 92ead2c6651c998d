#pragma once
#include <QString>

namespace vennic {

/// Case- and diacritic-insensitive folding without locale: "ÉLÈVE Œuvre" gives "eleve œuvre".
QString foldedForComparison(const QString& text);

/// Canonical composition (NFC) and simple case folding, accents kept: the form in which LIKE[c] compares.
QString caseFolded(const QString& text);

} // namespace vennic
