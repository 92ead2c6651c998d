#include "base/InlineMarkdown.h"

#include "base/InlineMarkdownLink.h"

#include <algorithm>
#include <map>
#include <optional>

namespace vennic {

namespace {

constexpr qsizetype mostCharacters = 64LL * 1024;

bool isPunctuation(QChar c) { return c.isPunct() || c.isSymbol(); }

/// A stretch of the line. Delimiters that no partner was found for are text too.
struct Piece {
    QString text;
    bool code = false;
    QString link;
    int emphasis = 0; // how many begin here, less how many have ended before it
    int strong = 0;
};

/// A run of `*` or `_` that may begin or end emphasis.
struct Delimiter {
    std::size_t piece;
    QChar mark;
    qsizetype count;  // still without a partner
    qsizetype length; // as written
    bool opens;
    bool closes;
};

/// A `[` or `![` that may begin a link or an image.
struct Bracket {
    std::size_t piece;
    std::size_t delimiters; // that stand before it
    bool image;
    bool active = true;
};

class Parser {
public:
    explicit Parser(const QString& line) : line_(line) { findBackticks(); }

    std::vector<MarkdownRun> parse() {
        while (at_ < line_.size())
            step();
        pairDelimiters(0);
        return runs();
    }

private:
    void step() {
        const QChar c = line_.at(at_);
        if (c == u'\\' && at_ + 1 < line_.size() && isAsciiPunctuation(line_.at(at_ + 1))) {
            addText(line_.mid(at_ + 1, 1));
            at_ += 2;
        } else if (c == u'`') {
            takeBackticks();
        } else if (c == u'*' || c == u'_') {
            takeDelimiter(c);
        } else if (c == u'[') {
            openBracket(1, false);
        } else if (c == u'!' && at_ + 1 < line_.size() && line_.at(at_ + 1) == u'[') {
            openBracket(2, true);
        } else if (c == u']') {
            closeBracket();
        } else if (c == u'<') {
            takeAutolink();
        } else {
            takePlain();
        }
    }

    void takePlain() {
        static constexpr QStringView special = u"\\`*_[]!<";
        qsizetype end = at_ + 1;
        while (end < line_.size() && !special.contains(line_.at(end)))
            ++end;
        addText(line_.mid(at_, end - at_));
        at_ = end;
    }

    // Code spans

    void findBackticks() {
        for (qsizetype at = line_.indexOf(u'`'); at >= 0; at = line_.indexOf(u'`', at)) {
            const qsizetype length = runLength(at);
            backticks_[length].push_back(at);
            at += length;
        }
    }

    void takeBackticks() {
        const qsizetype length = runLength(at_);
        auto& places = backticks_[length];
        const auto closer = std::upper_bound(places.begin(), places.end(), at_);
        if (closer == places.end()) {
            addText(line_.mid(at_, length));
            at_ += length;
            return;
        }
        QString code = line_.mid(at_ + length, *closer - at_ - length);
        if (code.size() > 2 && code.startsWith(u' ') && code.endsWith(u' ') && !code.trimmed().isEmpty())
            code = code.mid(1, code.size() - 2);
        Piece piece;
        piece.text = std::move(code);
        piece.code = true;
        pieces_.push_back(std::move(piece));
        at_ = *closer + length;
    }

    // Emphasis

    void takeDelimiter(QChar mark) {
        const qsizetype length = runLength(at_);
        const QChar before = at_ > 0 ? line_.at(at_ - 1) : QChar(u' ');
        const QChar after = at_ + length < line_.size() ? line_.at(at_ + length) : QChar(u' ');
        const bool leftFlanking =
            !after.isSpace() && (!isPunctuation(after) || before.isSpace() || isPunctuation(before));
        const bool rightFlanking =
            !before.isSpace() && (!isPunctuation(before) || after.isSpace() || isPunctuation(after));
        const bool isStar = mark == u'*';
        const bool opens = leftFlanking && (isStar || !rightFlanking || isPunctuation(before));
        const bool closes = rightFlanking && (isStar || !leftFlanking || isPunctuation(after));
        addText(line_.mid(at_, length));
        if (opens || closes)
            delimiters_.push_back({pieces_.size() - 1, mark, length, length, opens, closes});
        at_ += length;
    }

    /// Pairs the delimiters from `first` on and drops them.
    void pairDelimiters(std::size_t first) {
        // For each kind of closer: where no opener for it stands any more. Keeps the search linear.
        std::map<std::tuple<char16_t, bool, qsizetype>, std::size_t> bottoms;
        std::vector<std::size_t> openers;
        for (std::size_t at = first; at < delimiters_.size(); ++at) {
            Delimiter& closer = delimiters_[at];
            while (closer.closes && closer.count > 0) {
                auto& bottom = bottoms[{closer.mark.unicode(), closer.opens, closer.length % 3}];
                std::size_t depth = openers.size();
                while (depth > bottom && !fits(delimiters_[openers[depth - 1]], closer))
                    --depth;
                if (depth <= bottom) {
                    bottom = openers.size();
                    break;
                }
                openers.resize(depth); // what stands between stays text
                Delimiter& opener = delimiters_[openers.back()];
                pair(opener, closer);
                if (opener.count == 0)
                    openers.pop_back();
                for (auto& [kind, other] : bottoms)
                    other = std::min(other, openers.size());
            }
            if (closer.opens && closer.count > 0)
                openers.push_back(at);
        }
        delimiters_.resize(first);
    }

    static bool fits(const Delimiter& opener, const Delimiter& closer) {
        if (opener.mark != closer.mark)
            return false;
        const bool either = opener.closes || closer.opens;
        return !either || (opener.length + closer.length) % 3 != 0 ||
               (opener.length % 3 == 0 && closer.length % 3 == 0);
    }

    void pair(Delimiter& opener, Delimiter& closer) {
        const qsizetype used = opener.count >= 2 && closer.count >= 2 ? 2 : 1;
        int Piece::* const look = used == 2 ? &Piece::strong : &Piece::emphasis;
        pieces_[opener.piece + 1].*look += 1;
        pieces_[closer.piece].*look -= 1;
        for (Delimiter* delimiter : {&opener, &closer}) {
            delimiter->count -= used;
            pieces_[delimiter->piece].text.chop(used);
        }
    }

    // Links and images

    void openBracket(qsizetype length, bool image) {
        addText(line_.mid(at_, length));
        brackets_.push_back({pieces_.size() - 1, delimiters_.size(), image});
        at_ += length;
    }

    void closeBracket() {
        std::optional<Bracket> bracket;
        if (!brackets_.empty()) {
            bracket = brackets_.back();
            brackets_.pop_back();
        }
        const auto target = bracket && bracket->active ? linkTargetAt(line_, at_ + 1) : std::nullopt;
        if (!bracket || !target) {
            addText(QStringLiteral("]"));
            ++at_;
            return;
        }
        pairDelimiters(bracket->delimiters);
        pieces_[bracket->piece].text.clear();
        if (!bracket->image) {
            for (std::size_t at = bracket->piece; at < pieces_.size(); ++at)
                pieces_[at].link = target->address;
            deactivateBrackets();
        }
        // A piece of its own, so that emphasis can end behind the link.
        addText({});
        at_ = target->end;
    }

    /// There is no link within a link.
    void deactivateBrackets() {
        for (auto bracket = brackets_.rbegin(); bracket != brackets_.rend() && (bracket->image || bracket->active);
             ++bracket)
            bracket->active = bracket->active && bracket->image;
    }

    void takeAutolink() {
        const auto target = autolinkAt(line_, at_);
        if (!target) {
            addText(QStringLiteral("<"));
            ++at_;
            return;
        }
        Piece piece;
        piece.text = line_.mid(at_ + 1, target->end - at_ - 2);
        piece.link = target->address;
        pieces_.push_back(std::move(piece));
        at_ = target->end;
    }

    // The result

    void addText(const QString& text) {
        Piece piece;
        piece.text = text;
        pieces_.push_back(std::move(piece));
    }

    std::vector<MarkdownRun> runs() const {
        std::vector<MarkdownRun> runs;
        int emphasis = 0;
        int strong = 0;
        for (const Piece& piece : pieces_) {
            emphasis += piece.emphasis;
            strong += piece.strong;
            if (piece.text.isEmpty())
                continue;
            MarkdownRun run{piece.text, emphasis > 0, strong > 0, piece.code, piece.link};
            if (!runs.empty() && isSameLook(runs.back(), run))
                runs.back().text += run.text;
            else
                runs.push_back(std::move(run));
        }
        return runs;
    }

    static bool isSameLook(const MarkdownRun& a, const MarkdownRun& b) {
        return a.emphasis == b.emphasis && a.strong == b.strong && a.code == b.code && a.link == b.link;
    }

    qsizetype runLength(qsizetype at) const {
        qsizetype end = at + 1;
        while (end < line_.size() && line_.at(end) == line_.at(at))
            ++end;
        return end - at;
    }

    const QString& line_;
    qsizetype at_ = 0;
    std::map<qsizetype, std::vector<qsizetype>> backticks_; // where runs of each length begin
    std::vector<Piece> pieces_;
    std::vector<Delimiter> delimiters_;
    std::vector<Bracket> brackets_;
};

} // namespace

std::vector<MarkdownRun> parseInlineMarkdown(const QString& line) {
    if (line.isEmpty())
        return {};
    if (line.size() > mostCharacters)
        return {MarkdownRun{line, false, false, false, {}}};
    return Parser(line).parse();
}

} // namespace vennic
