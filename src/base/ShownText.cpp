#include "base/ShownText.h"

#include "base/DrawableCharacter.h"

namespace vennic {

namespace {

template <class Exception>
QString drawable(const QString& text, Exception isExcepted) {
    QString drawn;
    drawn.reserve(text.size());
    for (const char32_t c : text.toUcs4())
        drawn += QStringView(QChar::fromUcs4(isDrawable(c) || isExcepted(c) ? c : QChar::ReplacementCharacter));
    return drawn;
}

} // namespace

QString drawableText(const QString& text) {
    QString lines = text;
    lines.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return drawable(lines, [](char32_t c) { return c == U'\n' || c == U'\t'; });
}

QString drawableLine(const QString& text) {
    return drawable(text, [](char32_t) { return false; });
}

} // namespace vennic
