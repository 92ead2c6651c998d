#pragma once
#include <cstdint>

namespace vennic {

/// Grapheme_Cluster_Break of a code point (UAX #29, table 2), with Extended_Pictographic beside it.
enum class GraphemeClass : std::uint8_t {
    other,
    control,
    carriageReturn,
    lineFeed,
    extend,
    joiner,
    spacingMark,
    prepend,
    hangulL,
    hangulV,
    hangulT,
    hangulLV,
    hangulLVT,
    regionalIndicator,
    pictograph,
};

/// What the rules ask of one code point.
struct GraphemeTraits {
    GraphemeClass breakClass : 4;
    bool linkingConsonant : 1; // Indic consonant that a virama joins to the next one
    bool virama : 1;
    bool combining : 1; // joiner, or extender of a combining class other than 0
};

/// Read from ICU once per block of 256 code points, then from memory. Safe from several threads.
GraphemeTraits graphemeTraits(char32_t codePoint) noexcept;

} // namespace vennic
