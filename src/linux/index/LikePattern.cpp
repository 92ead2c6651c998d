#include "linux/index/LikePattern.h"

#include "linux/index/TextFold.h"
#include "linux/index/WordSplit.h"

#include <algorithm>

namespace vennic::index {

namespace {

std::size_t charactersIn(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// Steps over `count` characters; false when the text ends before.
bool skipCharacters(std::string_view text, std::size_t& at, std::size_t count) {
    for (; count; --count) {
        if (at >= text.size())
            return false;
        at += static_cast<std::size_t>(utf8Length(static_cast<unsigned char>(text[at])));
    }
    return true;
}

/// A literal that is one run of word characters with terms at both ends, or one symbol, is decided by the words.
bool decidedByWords(const std::string& literal) {
    if (literal.empty() || literal.size() > longestSurePiece)
        return false;
    const char* at = literal.data();
    const char* const end = at + literal.size();
    const CharacterClass first = classAt(at);
    if (at == end)
        return first != CharacterClass::separator;
    CharacterClass last = first;
    while (at < end && last >= CharacterClass::connector)
        last = classAt(at);
    return at == end && first == CharacterClass::term && last == CharacterClass::term;
}

void addPieces(const std::string& literal, std::vector<std::string>& pieces) {
    splitWords(literal, [&](std::string_view word) {
        while (word.size() > longestSurePiece) { // any part will do, the rest only narrows
            std::size_t cut = longestSurePiece;
            while ((static_cast<unsigned char>(word[cut]) & 0xC0) == 0x80)
                --cut;
            pieces.emplace_back(word.substr(0, cut));
            word.remove_prefix(cut);
        }
        pieces.emplace_back(word);
    });
}

} // namespace

LikePattern::LikePattern(std::string_view pattern) {
    stretches_.emplace_back();
    std::string literal;
    std::size_t skip = 0;
    const auto endAtom = [&] {
        if (skip || !literal.empty())
            stretches_.back().push_back({skip, foldedText(literal)});
        skip = 0;
        literal.clear();
    };
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        char c = pattern[i];
        if (c == '*') {
            endAtom();
            stretches_.emplace_back();
        } else if (c == '?') {
            if (!literal.empty())
                endAtom();
            ++skip;
        } else {
            if (c == '\\' && i + 1 < pattern.size())
                c = pattern[++i];
            literal.push_back(c);
        }
    }
    endAtom();
    choosePieces();
}

void LikePattern::choosePieces() {
    const bool open = stretches_.size() > 1 && stretches_.front().empty() && stretches_.back().empty();
    std::vector<const Atom*> atoms;
    for (const auto& stretch : stretches_) {
        for (const Atom& atom : stretch)
            atoms.push_back(&atom);
    }
    if (open && atoms.empty()) {
        exact_ = true; // stars alone
        return;
    }
    if (open && atoms.size() == 1 && atoms.front()->skip == 0 && decidedByWords(atoms.front()->literal)) {
        pieces_ = {atoms.front()->literal};
        exact_ = true;
        return;
    }
    for (const Atom* atom : atoms)
        addPieces(atom->literal, pieces_);
    std::ranges::sort(pieces_, [](const std::string& a, const std::string& b) { // the rarest first, most likely
        return a.size() != b.size() ? a.size() > b.size() : a < b;
    });
    pieces_.erase(std::unique(pieces_.begin(), pieces_.end()), pieces_.end());
}

bool LikePattern::matchesAt(Stretch stretch, std::string_view text, std::size_t& at) {
    for (const Atom& atom : stretch) {
        if (!skipCharacters(text, at, atom.skip) || text.compare(at, atom.literal.size(), atom.literal) != 0)
            return false;
        at += atom.literal.size();
    }
    return true;
}

bool LikePattern::findStretch(Stretch stretch, std::string_view text, std::size_t& at, const std::atomic<bool>* stop) {
    while (!stop || !*stop) {
        const Atom& first = stretch.front();
        if (first.literal.empty()) { // question marks alone
            return skipCharacters(text, at, first.skip);
        }
        // The leftmost place of the first literal that leaves room for the skipped characters before it.
        std::size_t earliest = at;
        if (!skipCharacters(text, earliest, first.skip))
            return false;
        const void* found =
            memmem(text.data() + earliest, text.size() - earliest, first.literal.data(), first.literal.size());
        if (!found)
            return false;
        std::size_t end = static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
        const std::size_t begin = end;
        end += first.literal.size();
        if (matchesAt(stretch.subspan(1), text, end)) {
            at = end;
            return true;
        }
        // Goes on one character behind this place, less what is skipped before the literal.
        at = begin + static_cast<std::size_t>(utf8Length(static_cast<unsigned char>(text[begin])));
        for (std::size_t i = 0; i < first.skip; ++i) {
            do
                --at;
            while ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80);
        }
    }
    return false;
}

bool LikePattern::matchesAtEnd(Stretch stretch, std::string_view text, std::size_t from) {
    std::size_t characters = 0;
    for (const Atom& atom : stretch)
        characters += atom.skip + charactersIn(atom.literal);
    std::size_t at = text.size();
    for (; characters; --characters) {
        if (at <= from)
            return false;
        do
            --at;
        while ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80);
    }
    return at >= from && matchesAt(stretch, text, at) && at == text.size();
}

bool LikePattern::matches(std::string_view folded, const std::atomic<bool>* stop) const {
    std::size_t at = 0;
    if (!matchesAt(stretches_.front(), folded, at))
        return false;
    if (stretches_.size() == 1)
        return at == folded.size();
    for (std::size_t i = 1; i + 1 < stretches_.size(); ++i) {
        if (!stretches_[i].empty() && !findStretch(stretches_[i], folded, at, stop))
            return false;
    }
    return matchesAtEnd(stretches_.back(), folded, at);
}

} // namespace vennic::index
