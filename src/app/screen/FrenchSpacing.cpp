#include "app/screen/FrenchSpacing.h"

namespace vennic {

namespace {

bool staysBehindABlank(QChar c) {
    switch (c.unicode()) {
    case u':':
    case u';':
    case u'!':
    case u'?':
    case u'»':
    case u'%':
    case u'€':
        return true;
    default:
        return false;
    }
}

/// The mark is one by itself, and not the first character of a word or of a smiley.
bool endsThere(QStringView text, qsizetype at) {
    while (at < text.size() && staysBehindABlank(text[at]))
        ++at;
    return at == text.size() || text[at].isSpace() || (text[at].isPunct() && text[at] != u'-' && text[at] != u'/') ||
           text[at] == u'\u2028';
}

} // namespace

QString withFrenchSpacing(QString text) {
    for (qsizetype i = text.indexOf(u' '); i >= 0; i = text.indexOf(u' ', i + 1)) {
        const bool begins = i == 0 || text[i - 1].isSpace();
        const bool beforeMark = i + 1 < text.size() && staysBehindABlank(text[i + 1]) && endsThere(text, i + 1);
        const bool afterQuote = i > 0 && text[i - 1] == u'«';
        if ((beforeMark && !begins) || afterQuote)
            text[i] = QChar::Nbsp;
    }
    return text;
}

} // namespace vennic
