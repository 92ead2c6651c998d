#pragma once
#include <QString>

namespace vennic {

/// What a line of the screen, or whoever reads it aloud, is given of a text that came from outside and may be of any
/// size: the first thousand code units at the most, and then an ellipsis.
inline QString forScreen(const QString& text) {
    constexpr qsizetype most = 1000;
    if (text.size() <= most)
        return text;
    const qsizetype kept = text.at(most - 1).isHighSurrogate() ? most - 1 : most;
    return text.first(kept) + QChar(u'…');
}

} // namespace vennic
