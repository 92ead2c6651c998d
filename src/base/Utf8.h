#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace vennic {

/// One code point read from UTF-8 and the bytes it took. Malformed bytes read as U+FFFD, one byte each.
struct Utf8Step {
    char32_t codePoint;
    std::size_t length;
};

/// Reads the code point at `at`, which lies inside `text`. Strict: no overlong form, no surrogate, nothing above
/// U+10FFFF (RFC 3629).
Utf8Step utf8At(std::string_view text, std::size_t at) noexcept;

/// Whether all of `text` is well-formed UTF-8 (RFC 3629).
bool isUtf8(std::string_view text) noexcept;

/// Appends one code point; a surrogate or a number above U+10FFFF is appended as U+FFFD.
void appendUtf8(std::string& text, char32_t codePoint);

} // namespace vennic
