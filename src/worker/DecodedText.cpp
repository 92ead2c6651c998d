#include "worker/DecodedText.h"

#include "base/Utf8.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace vennic::worker {
namespace {

enum class ByteOrder { big, little };

unsigned char byteAt(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

char32_t unitAt(std::string_view bytes, std::size_t at, ByteOrder order) {
    const unsigned first = byteAt(bytes, at);
    const unsigned second = byteAt(bytes, at + 1);
    return order == ByteOrder::big ? first << 8 | second : second << 8 | first;
}

std::optional<ByteOrder> markedOrder(std::string_view bytes) {
    if (bytes.starts_with("\xFE\xFF"))
        return ByteOrder::big;
    if (bytes.starts_with("\xFF\xFE"))
        return ByteOrder::little;
    return std::nullopt;
}

/// The order that zero bytes show: text in a Latin script has a zero in most of its units, always in the same half,
/// and no unit that is zero as a whole.
std::optional<ByteOrder> shownOrder(std::string_view bytes) {
    constexpr std::size_t looked = 4096;
    const std::size_t end = std::min(bytes.size(), looked) & ~std::size_t{1};
    if (bytes.size() % 2 != 0 || end < 4)
        return std::nullopt;
    std::size_t firstZero = 0;
    std::size_t secondZero = 0;
    for (std::size_t at = 0; at < end; at += 2) {
        const bool first = bytes[at] == 0;
        const bool second = bytes[at + 1] == 0;
        if (first && second)
            return std::nullopt;
        firstZero += first ? 1 : 0;
        secondZero += second ? 1 : 0;
    }
    const std::size_t units = end / 2;
    const auto shows = [units](std::size_t zeros, std::size_t others) {
        return zeros * 10 >= units * 7 && others * 100 <= units;
    };
    if (shows(firstZero, secondZero))
        return ByteOrder::big;
    if (shows(secondZero, firstZero))
        return ByteOrder::little;
    return std::nullopt;
}

std::optional<std::string> utf16Text(std::string_view bytes, ByteOrder order) {
    if (bytes.size() % 2 != 0)
        return std::nullopt;
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        char32_t codePoint = unitAt(bytes, at, order);
        if (codePoint >= 0xD800 && codePoint < 0xE000) {
            if (codePoint >= 0xDC00 || at + 2 >= bytes.size())
                return std::nullopt;
            const char32_t low = unitAt(bytes, at + 2, order);
            if (low < 0xDC00 || low >= 0xE000)
                return std::nullopt;
            codePoint = 0x10000 + ((codePoint & 0x3FF) << 10) + (low & 0x3FF);
            at += 2;
        }
        appendUtf8(text, codePoint);
    }
    return text;
}

std::string latin1Text(std::string_view bytes, std::size_t most) {
    // Only CR LF puts two of these characters into one, so what lies beyond can't be reached.
    if (most < std::numeric_limits<std::size_t>::max() / 4)
        bytes = bytes.substr(0, most * 2 + 2);
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (std::size_t at = 0; at < bytes.size(); ++at)
        appendUtf8(text, byteAt(bytes, at));
    return text;
}

} // namespace

DecodedText::DecodedText(std::string_view bytes, std::size_t most) {
    if (isUtf8(bytes)) {
        constexpr std::string_view mark = "\xEF\xBB\xBF";
        borrowed_ = bytes.starts_with(mark) ? bytes.substr(mark.size()) : bytes;
        return;
    }
    const std::optional<ByteOrder> marked = markedOrder(bytes);
    if (const auto order = marked ? marked : shownOrder(bytes)) {
        if (auto text = utf16Text(bytes.substr(marked ? 2 : 0), *order)) {
            owned_ = std::move(*text);
            return;
        }
    }
    owned_ = latin1Text(bytes, most);
}

} // namespace vennic::worker
