#include "linux_index/NaiveGlob.h"

#include "base/TextFolding.h"

#include <QString>

#include <vector>

namespace vennic::index::test {

namespace {

enum class Part { literal, one, any };

struct Unit {
    Part part = Part::literal;
    char32_t code = 0;
};

QList<uint> folded(const QString& text) { return caseFolded(text).toUcs4(); }

std::vector<Unit> parse(const QString& pattern) {
    std::vector<Unit> units;
    QString literal;
    const auto flush = [&] {
        for (const uint code : folded(literal))
            units.push_back({Part::literal, code});
        literal.clear();
    };
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'*' || pattern[i] == u'?') {
            flush();
            units.push_back({pattern[i] == u'*' ? Part::any : Part::one, 0});
        } else {
            if (pattern[i] == u'\\' && i + 1 < pattern.size())
                ++i;
            literal += pattern[i];
        }
    }
    flush();
    return units;
}

} // namespace

bool naiveLike(const std::string& text, const std::string& pattern) {
    const QList<uint> letters = folded(QString::fromStdString(text));
    const std::vector<Unit> units = parse(QString::fromStdString(pattern));
    // reachable[i]: the units so far can match the first i letters.
    std::vector<bool> reachable(static_cast<std::size_t>(letters.size()) + 1);
    reachable[0] = true;
    for (const Unit& unit : units) {
        std::vector<bool> next(reachable.size());
        for (std::size_t i = 0; i < reachable.size(); ++i) {
            if (unit.part == Part::any) {
                next[i] = reachable[i] || (i > 0 && next[i - 1]);
            } else if (reachable[i] && i + 1 < reachable.size()) {
                const bool same = letters[static_cast<qsizetype>(i)] == unit.code;
                next[i + 1] = unit.part == Part::one || same;
            }
        }
        reachable = std::move(next);
    }
    return reachable.back();
}

} // namespace vennic::index::test
