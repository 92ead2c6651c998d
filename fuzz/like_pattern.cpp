// A pattern and a text, separated by a zero byte: the matcher agrees with the definition, and a match is a candidate.
#include "linux/index/LikePattern.h"
#include "linux/index/TextFold.h"
#include "linux/index/WordSplit.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace vennic::index;

struct Unit {
    char kind; // * ? or = for a literal character
    std::string character;
};

std::vector<std::string> charactersOf(const std::string& folded) {
    std::vector<std::string> result;
    for (std::size_t at = 0; at < folded.size();) {
        const auto length = static_cast<std::size_t>(utf8Length(static_cast<unsigned char>(folded[at])));
        result.push_back(folded.substr(at, length));
        at += length;
    }
    return result;
}

std::vector<Unit> unitsOf(const std::string& pattern) {
    std::vector<Unit> units;
    std::string literal;
    const auto flush = [&] {
        for (std::string& character : charactersOf(foldedText(literal)))
            units.push_back({'=', std::move(character)});
        literal.clear();
    };
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '*' || pattern[i] == '?') {
            flush();
            units.push_back({pattern[i], {}});
            continue;
        }
        if (pattern[i] == '\\' && i + 1 < pattern.size())
            ++i;
        literal.push_back(pattern[i]);
    }
    flush();
    return units;
}

bool matchesByDefinition(const std::vector<std::string>& text, const std::vector<Unit>& units) {
    std::vector<bool> reachable(text.size() + 1);
    reachable[0] = true;
    for (const Unit& unit : units) {
        std::vector<bool> next(reachable.size());
        for (std::size_t i = 0; i < reachable.size(); ++i) {
            if (unit.kind == '*')
                next[i] = reachable[i] || (i > 0 && next[i - 1]);
            else if (i > 0)
                next[i] = reachable[i - 1] && (unit.kind == '?' || text[i - 1] == unit.character);
        }
        reachable = std::move(next);
    }
    return reachable.back();
}

void require(bool held) {
    if (!held)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 2000)
        return 0;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t zero = std::min(bytes.find('\0'), bytes.size());
    const std::string pattern = bytes.substr(0, zero);
    const std::string text = foldedText(zero < bytes.size() ? bytes.substr(zero + 1) : std::string());
    const LikePattern like(pattern);
    const bool matches = like.matches(text);
    require(matches == matchesByDefinition(charactersOf(text), unitsOf(pattern)));
    std::vector<std::string> words;
    splitWords(text, [&](std::string_view word) { words.emplace_back(word); });
    const bool candidate = std::ranges::all_of(like.pieces(), [&](const std::string& piece) {
        return std::ranges::any_of(words,
                                   [&](const std::string& word) { return word.find(piece) != std::string::npos; });
    });
    require(!matches || candidate);
    require(!like.exact() || matches == candidate);
    return 0;
}
