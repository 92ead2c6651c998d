#include "base/JsonText.h"

#include <QLocale>
#include <QStringEncoder>

#include <array>

namespace vennic {

namespace {

bool isPlain(QChar c) { return c >= u' ' && c != u'"' && c != u'\\' && !c.isSurrogate(); }

void appendUtf8(QByteArray& json, QStringView text) {
    QStringEncoder utf8(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    const qsizetype at = json.size();
    json.resize(at + utf8.requiredSpace(text.size()));
    const char* const end = utf8.appendToBuffer(json.data() + at, text);
    json.resize(end - json.constData());
}

void appendEscape(QByteArray& json, char16_t unit) {
    switch (unit) {
    case u'"':
        json += "\\\"";
        break;
    case u'\\':
        json += "\\\\";
        break;
    case u'\n':
        json += "\\n";
        break;
    case u'\r':
        json += "\\r";
        break;
    case u'\t':
        json += "\\t";
        break;
    default: {
        constexpr auto digit = "0123456789abcdef";
        const std::array escape{
            '\\', 'u', digit[unit >> 12], digit[unit >> 8 & 15], digit[unit >> 4 & 15], digit[unit & 15]};
        json.append(escape.data(), escape.size());
    }
    }
}

} // namespace

void appendJsonString(QByteArray& json, QStringView text) {
    json += '"';
    for (qsizetype at = 0; at < text.size();) {
        qsizetype end = at;
        while (end < text.size() && isPlain(text[end]))
            ++end;
        if (end > at)
            appendUtf8(json, text.sliced(at, end - at));
        at = end;
        if (at == text.size())
            break;
        const bool isPair = text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
        if (isPair)
            appendUtf8(json, text.sliced(at, 2));
        else
            appendEscape(json, text[at].unicode());
        at += isPair ? 2 : 1;
    }
    json += '"';
}

void appendJsonNumber(QByteArray& json, double number) {
    json += QByteArray::number(number, 'g', QLocale::FloatingPointShortest);
}

} // namespace vennic
