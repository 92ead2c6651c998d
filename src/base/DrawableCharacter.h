#pragma once
#include <algorithm>
#include <array>
#include <utility>

namespace vennic {

/// Whether a character of a text from outside may be handed to what draws it. Not so a control character, half a
/// surrogate pair, a separator of lines or paragraphs, a noncharacter (a text document takes some for commands of its
/// own), a place of an embedded object, and a character that nobody sees or that turns the direction of what follows
/// (Unicode, "Special Areas and Format Characters"). The joiners and the tags of emoji are drawn as a part of them.
constexpr bool isDrawable(char32_t c) {
    constexpr std::array<std::pair<char32_t, char32_t>, 17> others{{
        {0x0000, 0x001F},
        {0x007F, 0x009F},
        {0x00AD, 0x00AD},
        {0x061C, 0x061C},
        {0x180E, 0x180E},
        {0x200B, 0x200B},
        {0x200E, 0x200F},
        {0x2028, 0x202E},
        {0x2060, 0x206F},
        {0xD800, 0xDFFF},
        {0xFDD0, 0xFDEF},
        {0xFEFF, 0xFEFF},
        {0xFFF9, 0xFFFC},
        {0x13430, 0x1343F},
        {0x1BCA0, 0x1BCA3},
        {0x1D173, 0x1D17A},
        {0xE0001, 0xE0001},
    }};
    const bool isNoncharacter = (c & 0xFFFEU) == 0xFFFEU;
    return c <= 0x10FFFF && !isNoncharacter &&
           std::ranges::none_of(others, [c](const auto& range) { return c >= range.first && c <= range.second; });
}

} // namespace vennic
