#include "linux/index/TextFold.h"

#include "base/TextFolding.h"
#include "linux/index/CharacterTable.h"

#include <QString>

namespace vennic::index {

namespace {

std::string foldedByReference(std::string_view text) {
    const auto view = QUtf8StringView(text.data(), static_cast<qsizetype>(text.size()));
    return caseFolded(view.toString()).toStdString();
}

/// The length of the UTF-8 character at `at`, 0 when its bytes are none.
int validLength(const char* at, const char* end) {
    const auto byte = [&](int i) { return static_cast<unsigned char>(at[i]); };
    const auto follows = [&](int i) { return (byte(i) & 0xC0) == 0x80; };
    const auto left = end - at;
    const unsigned char first = byte(0);
    if (first >= 0xC2 && first < 0xE0)
        return left >= 2 && follows(1) ? 2 : 0;
    if (first >= 0xE0 && first < 0xF0) {
        if (left < 3 || !follows(1) || !follows(2) || (first == 0xE0 && byte(1) < 0xA0) ||
            (first == 0xED && byte(1) >= 0xA0))
            return 0;
        return 3;
    }
    if (first >= 0xF0 && first < 0xF5) {
        if (left < 4 || !follows(1) || !follows(2) || !follows(3) || (first == 0xF0 && byte(1) < 0x90) ||
            (first == 0xF4 && byte(1) >= 0x90))
            return 0;
        return 4;
    }
    return 0;
}

constexpr std::ptrdiff_t chunk = 32;

bool isAscii(const char* at) {
    unsigned char high = 0;
    for (std::ptrdiff_t i = 0; i < chunk; ++i)
        high |= static_cast<unsigned char>(at[i]);
    return high < 0x80;
}

char lowered(char c) { return static_cast<char>(c + (static_cast<unsigned char>(c - 'A') < 26 ? 32 : 0)); }

} // namespace

std::string foldedText(std::string_view text) {
    std::string result(text.size() + text.size() / 8 + 64, '\0');
    std::size_t used = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end) {
        if (result.size() - used < 64)
            result.resize(result.size() + result.size() / 2);
        char* const out = result.data() + used;
        if (end - at >= chunk && isAscii(at)) {
            for (std::ptrdiff_t i = 0; i < chunk; ++i)
                out[i] = lowered(at[i]);
            at += chunk;
            used += chunk;
            continue;
        }
        if (static_cast<unsigned char>(*at) < 0x80) {
            out[0] = lowered(*at++);
            ++used;
            continue;
        }
        if (!validLength(at, end))
            return foldedByReference(text);
        const Character& folded = character(decodeUtf8(at));
        if (folded.composes)
            return foldedByReference(text);
        for (std::size_t i = 0; i < sizeof folded.folded; ++i)
            out[i] = folded.folded[i];
        used += folded.length;
    }
    result.resize(used);
    return result;
}

} // namespace vennic::index
