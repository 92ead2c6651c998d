#include "app/screen/FrenchSpacing.h"

#include <algorithm>
#include <array>

namespace vennic {

namespace {

bool staysBehindABlank(QChar c) {
    switch (c.unicode()) {
    case u':':
    case u';':
    case u'!':
    case u'?':
    case u'»':
    case u'·':
    case u'—':
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

/// What counts in the client's own texts.
constexpr std::array<QStringView, 6> units{u"GB", u"MB", u"ms", u"s", u"min", u"tok/s"};

/// The blank at `at` stands between a number and its unit.
bool isBeforeUnit(QStringView text, qsizetype at) {
    if (at == 0 || !text[at - 1].isDigit())
        return false;
    const QStringView behind = text.sliced(at + 1);
    return std::any_of(units.begin(), units.end(), [behind](QStringView unit) {
        return behind.startsWith(unit) && (behind.size() == unit.size() || !behind[unit.size()].isLetterOrNumber());
    });
}

} // namespace

QString withFrenchSpacing(QString text) {
    for (qsizetype i = text.indexOf(u' '); i >= 0; i = text.indexOf(u' ', i + 1)) {
        const bool begins = i == 0 || text[i - 1].isSpace();
        const bool beforeMark = i + 1 < text.size() && staysBehindABlank(text[i + 1]) && endsThere(text, i + 1);
        const bool afterQuote = i > 0 && text[i - 1] == u'«';
        if ((beforeMark && !begins) || afterQuote || isBeforeUnit(text, i))
            text[i] = QChar::Nbsp;
    }
    return text;
}

} // namespace vennic
