#pragma once
#include "linux/index/CharacterTable.h"

#include <array>
#include <string_view>

namespace vennic::index {

/// A literal of up to this many bytes lies whole within at least one word that `splitWords` gives.
constexpr std::size_t longestSurePiece = 100;
/// No word is longer than this.
constexpr std::size_t longestWord = 240;

inline CharacterClass classAt(const char*& at) {
    static const auto ascii = [] {
        std::array<CharacterClass, 128> table{};
        for (char32_t c = 0; c < 128; ++c)
            table[c] = classOf(c);
        return table;
    }();
    const auto first = static_cast<unsigned char>(*at);
    if (first < 0x80) {
        ++at;
        return ascii[first];
    }
    return character(decodeUtf8(at)).kind;
}

/// Gives each word of folded text (see CharacterClass) to `sink`, repetitions included. A run longer than
/// `longestWord` comes in windows that overlap by more than `longestSurePiece`.
template <class Sink>
void splitWords(std::string_view text, Sink&& sink) {
    std::array<bool, 128> seen{}; // punctuation repeats too often to be handed on each time
    const auto symbol = [&](const char* from, const char* to) {
        const auto first = static_cast<unsigned char>(*from);
        if (first < 0x80) {
            if (seen[first])
                return;
            seen[first] = true;
        }
        sink(std::string_view(from, static_cast<std::size_t>(to - from)));
    };
    const auto boundary = [](const char* from) { // moves back to the beginning of a character
        while ((static_cast<unsigned char>(*from) & 0xC0) == 0x80)
            --from;
        return from;
    };
    const auto word = [&](const char* from, const char* to) {
        while (static_cast<std::size_t>(to - from) > longestWord) {
            const char* const cut = boundary(from + longestWord);
            sink(std::string_view(from, static_cast<std::size_t>(cut - from)));
            from = boundary(from + (longestWord - longestSurePiece - 8));
        }
        sink(std::string_view(from, static_cast<std::size_t>(to - from)));
    };
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end) {
        const char* const start = at;
        const CharacterClass first = classAt(at);
        if (first == CharacterClass::separator)
            continue;
        if (first != CharacterClass::term) {
            symbol(start, at);
            continue;
        }
        const char* lastTerm = at;
        const char* next = at;
        while (next < end) {
            const CharacterClass kind = classAt(next);
            if (kind < CharacterClass::connector)
                break;
            at = next;
            if (kind == CharacterClass::term)
                lastTerm = next;
        }
        word(start, lastTerm);
        for (const char* trailing = lastTerm; trailing < at;) {
            const char* const from = trailing;
            trailing += utf8Length(static_cast<unsigned char>(*from));
            symbol(from, trailing);
        }
    }
}

} // namespace vennic::index
