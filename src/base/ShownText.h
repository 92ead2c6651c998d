#pragma once
#include <QString>

namespace vennic {

/// A text from outside as it is drawn: its beginning and "…" when it is longer than `longest` UTF-16 units, so that
/// nobody has to lay out megabytes of it. Never half a surrogate pair.
inline QString shownText(const QString& text, qsizetype longest) {
    if (text.size() <= longest)
        return text;
    QString shown = text.left(longest);
    if (!shown.isEmpty() && shown.back().isHighSurrogate())
        shown.chop(1);
    return shown + u'…';
}

/// More than a title in a menu or on a button can show.
inline QString shownTitle(const QString& text) { return shownText(text, 200); }
/// More than the words of a failure need.
inline QString shownReason(const QString& text) { return shownText(text, 1000); }

/// The last `longest` UTF-16 units of a text, or one less: never half a surrogate pair.
inline QString shownEnd(const QString& text, qsizetype longest) {
    if (text.size() <= longest)
        return text;
    const QString end = text.right(longest);
    return !end.isEmpty() && end.front().isLowSurrogate() ? end.mid(1) : end;
}

/// A text from outside with U+FFFD for each character that may not be handed to what draws it (DrawableCharacter.h),
/// newlines and tabs excepted; CR LF is a newline.
QString drawableText(const QString& text);
/// The same of a text that is one line: without those exceptions.
QString drawableLine(const QString& text);

} // namespace vennic
