#include "base/Utf8.h"

namespace vennic {
namespace {

constexpr char32_t replacement = 0xFFFD;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

} // namespace

Utf8Step utf8At(std::string_view text, std::size_t at) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data()) + at;
    const std::size_t left = text.size() - at;
    const unsigned char lead = bytes[0];
    if (lead < 0x80)
        return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4)
        return {replacement, 1};
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (left < length || !isContinuation(bytes[1]))
        return {replacement, 1};
    // The second byte rules out overlong forms, surrogates and numbers above U+10FFFF.
    if ((lead == 0xE0 && bytes[1] < 0xA0) || (lead == 0xED && bytes[1] > 0x9F) || (lead == 0xF0 && bytes[1] < 0x90) ||
        (lead == 0xF4 && bytes[1] > 0x8F))
        return {replacement, 1};
    char32_t codePoint = lead & (length == 2 ? 0x1F : length == 3 ? 0x0F : 0x07);
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(bytes[i]))
            return {replacement, 1};
        codePoint = codePoint << 6 | (bytes[i] & 0x3F);
    }
    return {codePoint, length};
}

bool isUtf8(std::string_view text) noexcept {
    constexpr std::size_t block = 32;
    std::size_t at = 0;
    while (at < text.size()) {
        if (text.size() - at >= block) {
            unsigned char any = 0;
            for (std::size_t i = 0; i < block; ++i)
                any |= static_cast<unsigned char>(text[at + i]);
            if (any < 0x80) {
                at += block;
                continue;
            }
        }
        const std::size_t end = text.size() - at < block ? text.size() : at + block;
        while (at < end) {
            const Utf8Step step = utf8At(text, at);
            if (step.length == 1 && step.codePoint == replacement)
                return false;
            at += step.length;
        }
    }
    return true;
}

void appendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint < 0xE000))
        codePoint = replacement;
    const auto tail = [&](int shift) { text.push_back(static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F))); };
    if (codePoint < 0x80) {
        text.push_back(static_cast<char>(codePoint));
    } else if (codePoint < 0x800) {
        text.push_back(static_cast<char>(0xC0 | (codePoint >> 6)));
        tail(0);
    } else if (codePoint < 0x10000) {
        text.push_back(static_cast<char>(0xE0 | (codePoint >> 12)));
        tail(6);
        tail(0);
    } else {
        text.push_back(static_cast<char>(0xF0 | (codePoint >> 18)));
        tail(12);
        tail(6);
        tail(0);
    }
}

} // namespace vennic
