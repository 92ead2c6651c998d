#include "linux/index/CharacterTable.h"

#include <QString>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>

namespace vennic::index {

namespace {

using Page = std::array<Character, 256>;

Character describe(char32_t code) {
    Character result;
    result.kind = classOf(code);
    // Quick check NFC "yes" and combining class 0 for each character of a text prove that it is composed already.
    result.composes = u_getIntPropertyValue(static_cast<UChar32>(code), UCHAR_NFC_QUICK_CHECK) != UNORM_YES ||
                      u_getCombiningClass(static_cast<UChar32>(code)) != 0;
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    const QByteArray folded = surrogate ? QByteArray("?") : QString::fromUcs4(&code, 1).toCaseFolded().toUtf8();
    result.length = static_cast<std::uint8_t>(std::min<qsizetype>(folded.size(), sizeof result.folded));
    std::memcpy(result.folded, folded.constData(), result.length);
    return result;
}

/// The first 65,536 code points in pages that are made when first met.
std::array<std::atomic<const Page*>, 256> pages{};

const Page& makePage(unsigned number) {
    auto page = std::make_unique<Page>();
    for (unsigned i = 0; i < 256; ++i)
        (*page)[i] = describe(number << 8 | i);
    const Page* expected = nullptr;
    if (pages[number].compare_exchange_strong(expected, page.get(), std::memory_order_acq_rel))
        return *page.release(); // kept for the life of the process
    return *expected;
}

} // namespace

CharacterClass classOf(char32_t code) {
    switch (code) {
    case '\'':
    case '-':
    case '.':
    case '@':
    case '/':
    case ':':
    case '+':
    case 0x2019:
        return CharacterClass::connector;
    case '_':
        return CharacterClass::term;
    default:
        break;
    }
    if (QChar::isLetterOrNumber(code) || QChar::isMark(code))
        return CharacterClass::term;
    if (QChar::isSpace(code) || QChar::category(code) == QChar::Other_Control)
        return CharacterClass::separator;
    return CharacterClass::symbol;
}

const Character& character(char32_t code) {
    if (code >= 0x10000) {
        thread_local Character rare;
        rare = describe(code);
        return rare;
    }
    const Page* page = pages[code >> 8].load(std::memory_order_acquire);
    return (page ? *page : makePage(code >> 8))[code & 0xFF];
}

} // namespace vennic::index
