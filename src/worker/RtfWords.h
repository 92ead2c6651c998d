#pragma once
#include <string_view>

namespace vennic::worker {

/// What a control word of RTF means to a reader of its plain text.
enum class RtfWord {
    ignored,   // formatting
    character, // stands for the code point in `value`
    cellEnd,
    rowEnd,
    skipped,   // the group it opens isn't body text
    kept,      // body text even where `\*` lets a reader skip the group
    shapeText, // body text of a drawn frame
    fontTable,
    unicodePair,
    unicodeHalf,
    ansi,
    macintosh,
    pc,
    pca,
    ansiCodePage,
    defaultFont,
    font,
    fontCharset,
    fontCodePage,
    unicode,
    unicodeFallback,
    binary,
    plain,
    hidden,
    deleted,
};

struct RtfMeaning {
    RtfWord word = RtfWord::ignored;
    char32_t value = 0;
    bool known = false; // false: an unknown word, whose group is skipped after `\*`
};

RtfMeaning rtfMeaning(std::string_view word);

} // namespace vennic::worker
