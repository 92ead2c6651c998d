#pragma once
#include "base/Graphemes.h"

#include <QString>

namespace vennic {

inline std::u16string_view utf16View(QStringView text) { return {text.utf16(), static_cast<std::size_t>(text.size())}; }

/// The number of user-perceived characters.
inline qint64 characterCount(QStringView text) { return static_cast<qint64>(graphemeCount(utf16View(text))); }

/// The first `most` user-perceived characters; none when `most` is 0 or less.
inline QString firstCharacters(const QString& text, qint64 most) {
    if (most <= 0)
        return {};
    return text.left(static_cast<qsizetype>(cutGraphemes(utf16View(text), static_cast<std::size_t>(most)).length));
}

} // namespace vennic
