#pragma once
#include <cstddef>
#include <limits>
#include <string_view>

namespace vennic {

/// The beginning of a text, measured in user-perceived characters.
struct GraphemeCut {
    std::size_t characters = 0; // that it holds
    std::size_t length = 0;     // code units that they take
    bool operator==(const GraphemeCut&) const = default;
};

/// The longest beginning of `text` of at most `most` user-perceived characters: extended grapheme clusters by the
/// rules of UAX #29 as ICU applies them, so CR LF is one and a flag is one. UTF-8 is expected well-formed; an unpaired
/// surrogate in UTF-16 counts as one.
GraphemeCut cutGraphemes(std::string_view text, std::size_t most) noexcept;
GraphemeCut cutGraphemes(std::u16string_view text, std::size_t most) noexcept;

/// The number of user-perceived characters of the whole text.
inline std::size_t graphemeCount(std::string_view text) noexcept {
    return cutGraphemes(text, std::numeric_limits<std::size_t>::max()).characters;
}
inline std::size_t graphemeCount(std::u16string_view text) noexcept {
    return cutGraphemes(text, std::numeric_limits<std::size_t>::max()).characters;
}

} // namespace vennic
