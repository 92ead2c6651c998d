#pragma once
#include <cstdint>

namespace vennic::index {

/// What a character is to the index. A word is a run of `term` and `connector` characters that begins and ends
/// with a term; any other visible character is a word of its own.
enum class CharacterClass : std::uint8_t {
    separator, // white space and control characters
    symbol,
    connector, // ' - . @ / : + and the typographic apostrophe
    term,      // letters, digits, marks and _
};

/// One character in folded form.
struct Character {
    CharacterClass kind = CharacterClass::symbol; // of the character itself
    bool composes = false;                        // may change under canonical composition together with its neighbours
    std::uint8_t length = 0;                      // bytes of `folded`
    char folded[9] = {};                          // UTF-8 of its case folding
};

/// The class of any code point.
CharacterClass classOf(char32_t code);
/// The folded form of a code point. The reference stays valid until the next call on this thread.
const Character& character(char32_t code);

/// Decodes one character of valid UTF-8 and moves `at` behind it.
inline char32_t decodeUtf8(const char*& at) {
    const auto byte = [&](int i) { return static_cast<char32_t>(static_cast<unsigned char>(at[i])); };
    const char32_t first = byte(0);
    if (first < 0x80) {
        at += 1;
        return first;
    }
    if (first < 0xE0) {
        const char32_t code = (first & 0x1F) << 6 | (byte(1) & 0x3F);
        at += 2;
        return code;
    }
    if (first < 0xF0) {
        const char32_t code = (first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        at += 3;
        return code;
    }
    const char32_t code = (first & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    at += 4;
    return code;
}

/// Bytes of the UTF-8 character that begins with `first`.
inline int utf8Length(unsigned char first) { return first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4; }

} // namespace vennic::index
