#pragma once
#include <QString>

#include <optional>

namespace vennic {

/// Where a link leads, and where in the line it ends.
struct LinkTarget {
    QString address;
    qsizetype end = 0; // behind the link's last character
    bool operator==(const LinkTarget&) const = default;
};

/// The `(address "title")` of an inline link that begins at `at` (CommonMark 0.30, 6.3); an address of at most 2,048
/// characters. None when there isn't one.
std::optional<LinkTarget> linkTargetAt(const QString& line, qsizetype at);
/// The `<scheme:address>` that begins at `at` (CommonMark 0.30, 6.5). None when there isn't one.
std::optional<LinkTarget> autolinkAt(const QString& line, qsizetype at);

/// What a backslash takes literally.
bool isAsciiPunctuation(QChar c);

} // namespace vennic
