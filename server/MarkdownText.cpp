#include "server/MarkdownText.h"

namespace vennic::server {

QString literalMarkdown(const QString& text) {
    QString escaped;
    for (const QChar c : text) {
        if (QStringView(u"\\`*_[]<>!").contains(c))
            escaped += u'\\';
        escaped += c == u'\n' ? QChar(u' ') : c;
    }
    return escaped;
}

QString briefForeign(const QString& words) {
    constexpr qsizetype longest = 200;
    QString brief = words.left(2 * longest).simplified();
    if (brief.size() > longest)
        brief = brief.left(longest - 1) + QStringLiteral("…");
    return literalMarkdown(brief);
}

} // namespace vennic::server
