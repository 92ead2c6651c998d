#include "base/GraphemeClasses.h"

#include <array>
#include <atomic>
#include <memory>
#include <unicode/uchar.h>
#include <unicode/uscript.h>

namespace vennic {
namespace {

using Block = std::array<GraphemeTraits, 256>;

GraphemeClass breakClass(UChar32 c) {
    switch (u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_CONTROL:
        return GraphemeClass::control;
    case U_GCB_CR:
        return GraphemeClass::carriageReturn;
    case U_GCB_LF:
        return GraphemeClass::lineFeed;
    case U_GCB_EXTEND:
        return GraphemeClass::extend;
    case U_GCB_ZWJ:
        return GraphemeClass::joiner;
    case U_GCB_SPACING_MARK:
        return GraphemeClass::spacingMark;
    case U_GCB_PREPEND:
        return GraphemeClass::prepend;
    case U_GCB_L:
        return GraphemeClass::hangulL;
    case U_GCB_V:
        return GraphemeClass::hangulV;
    case U_GCB_T:
        return GraphemeClass::hangulT;
    case U_GCB_LV:
        return GraphemeClass::hangulLV;
    case U_GCB_LVT:
        return GraphemeClass::hangulLVT;
    case U_GCB_REGIONAL_INDICATOR:
        return GraphemeClass::regionalIndicator;
    default:
        return u_hasBinaryProperty(c, UCHAR_EXTENDED_PICTOGRAPHIC) ? GraphemeClass::pictograph : GraphemeClass::other;
    }
}

/// The six scripts whose consonants ICU joins across a virama.
bool joinsConjuncts(UChar32 c) {
    UErrorCode error = U_ZERO_ERROR;
    switch (uscript_getScript(c, &error)) {
    case USCRIPT_GUJARATI:
    case USCRIPT_TELUGU:
    case USCRIPT_MALAYALAM:
    case USCRIPT_ORIYA:
    case USCRIPT_BENGALI:
    case USCRIPT_DEVANAGARI:
        return true;
    default:
        return false;
    }
}

GraphemeTraits traitsFromIcu(UChar32 c) {
    GraphemeTraits traits{};
    traits.breakClass = breakClass(c);
    traits.combining = traits.breakClass == GraphemeClass::joiner ||
                       (traits.breakClass == GraphemeClass::extend && u_getCombiningClass(c) != 0);
    const int category = u_getIntPropertyValue(c, UCHAR_INDIC_SYLLABIC_CATEGORY);
    if ((category == U_INSC_VIRAMA || category == U_INSC_CONSONANT) && joinsConjuncts(c)) {
        traits.virama = category == U_INSC_VIRAMA;
        traits.linkingConsonant = category == U_INSC_CONSONANT;
    }
    return traits;
}

std::array<std::atomic<const Block*>, 0x1100> blocks;

const Block* makeBlock(std::size_t index) {
    auto block = std::make_unique<Block>();
    for (std::size_t i = 0; i < block->size(); ++i)
        (*block)[i] = traitsFromIcu(static_cast<UChar32>(index * block->size() + i));
    const Block* expected = nullptr;
    if (blocks[index].compare_exchange_strong(expected, block.get(), std::memory_order_acq_rel))
        return block.release(); // kept until the process ends
    return expected;
}

} // namespace

GraphemeTraits graphemeTraits(char32_t codePoint) noexcept {
    if (codePoint > 0x10FFFF)
        codePoint = 0xFFFD;
    const std::size_t index = codePoint >> 8;
    const Block* block = blocks[index].load(std::memory_order_acquire);
    if (block == nullptr)
        block = makeBlock(index);
    return (*block)[codePoint & 0xFF];
}

} // namespace vennic
