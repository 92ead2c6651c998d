#include "base/InlineMarkdownLink.h"

namespace vennic {

namespace {

constexpr qsizetype mostCharacters = 2048; // of an address, and of a title
constexpr int mostDepth = 32;              // of parentheses in an address

/// Walks over a line's characters; behind its end stands a NUL.
class Reader {
public:
    Reader(const QString& line, qsizetype at) : line_(line), at_(at) {}
    QChar look(qsizetype ahead = 0) const {
        return at_ + ahead < line_.size() ? line_.at(at_ + ahead) : QChar(QChar::Null);
    }
    bool ended() const { return at_ >= line_.size(); }
    QChar take() { return line_.at(at_++); }
    bool take(QChar wanted) {
        if (look() != wanted || ended())
            return false;
        ++at_;
        return true;
    }
    void skipBlanks() {
        while (!ended() && (look() == u' ' || look() == u'\t'))
            ++at_;
    }
    /// One character of an address or title, its backslash taken off.
    QChar takeEscaped() {
        if (look() == u'\\' && isAsciiPunctuation(look(1)))
            ++at_;
        return take();
    }
    qsizetype at() const { return at_; }

private:
    const QString& line_;
    qsizetype at_;
};

bool isControl(QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; }

std::optional<QString> takeBracketedAddress(Reader& reader) {
    QString address;
    while (!reader.ended() && address.size() < mostCharacters) {
        if (reader.take(u'>'))
            return address;
        if (reader.look() == u'<')
            return std::nullopt;
        address += reader.takeEscaped();
    }
    return std::nullopt;
}

std::optional<QString> takeBareAddress(Reader& reader) {
    QString address;
    int depth = 0;
    while (!reader.ended() && address.size() < mostCharacters) {
        const QChar c = reader.look();
        if (c == u' ' || c == u'\t' || (c == u')' && depth == 0))
            return address;
        if (isControl(c))
            return std::nullopt;
        depth += c == u'(' ? 1 : c == u')' ? -1 : 0;
        if (depth > mostDepth)
            return std::nullopt;
        address += reader.takeEscaped();
    }
    return std::nullopt;
}

/// Whether a title ended where it should.
bool skipTitle(Reader& reader) {
    const QChar opener = reader.take();
    const QChar closer = opener == u'(' ? QChar(u')') : opener;
    for (qsizetype count = 0; !reader.ended() && count < mostCharacters; ++count) {
        if (reader.take(closer))
            return true;
        reader.takeEscaped();
    }
    return false;
}

bool isTitleStart(QChar c) { return c == u'"' || c == u'\'' || c == u'('; }

bool isAsciiLetter(QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

} // namespace

bool isAsciiPunctuation(QChar c) {
    const char16_t code = c.unicode();
    return (code >= 0x21 && code <= 0x2f) || (code >= 0x3a && code <= 0x40) || (code >= 0x5b && code <= 0x60) ||
           (code >= 0x7b && code <= 0x7e);
}

std::optional<LinkTarget> linkTargetAt(const QString& line, qsizetype at) {
    Reader reader(line, at);
    if (!reader.take(u'('))
        return std::nullopt;
    reader.skipBlanks();
    const auto address = reader.take(u'<') ? takeBracketedAddress(reader) : takeBareAddress(reader);
    if (!address)
        return std::nullopt;
    const qsizetype addressEnd = reader.at();
    reader.skipBlanks();
    if (reader.at() > addressEnd && isTitleStart(reader.look()) && !skipTitle(reader))
        return std::nullopt;
    reader.skipBlanks();
    if (!reader.take(u')'))
        return std::nullopt;
    return LinkTarget{*address, reader.at()};
}

std::optional<LinkTarget> autolinkAt(const QString& line, qsizetype at) {
    Reader reader(line, at);
    if (!reader.take(u'<') || !isAsciiLetter(reader.look()))
        return std::nullopt;
    QString address;
    qsizetype schemeLength = 0; // 2 to 32, known at the colon
    while (!reader.ended() && address.size() < mostCharacters) {
        if (schemeLength > 0 && reader.take(u'>'))
            return LinkTarget{address, reader.at()};
        const QChar c = reader.take();
        if (isControl(c) || c == u' ' || c == u'<' || c == u'>')
            return std::nullopt;
        if (schemeLength == 0 && c == u':') {
            schemeLength = address.size();
            if (schemeLength < 2 || schemeLength > 32)
                return std::nullopt;
        } else if (schemeLength == 0 && !isAsciiLetter(c) && !c.isDigit() && c != u'+' && c != u'.' && c != u'-') {
            return std::nullopt;
        }
        address += c;
    }
    return std::nullopt;
}

} // namespace vennic
