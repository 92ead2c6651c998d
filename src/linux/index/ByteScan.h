#pragma once
#include <cstddef>
#include <string_view>

namespace vennic::index {

/// Readable bytes that must follow a text that is scanned.
constexpr std::size_t scanPadding = 64;

/// The first position >= `from` at which `needle` (not empty) stands in the `size` bytes at `text`; `size` when
/// nowhere. `scanPadding` bytes behind the text must be readable.
std::size_t findBytes(const char* text, std::size_t size, std::string_view needle, std::size_t from);

} // namespace vennic::index
