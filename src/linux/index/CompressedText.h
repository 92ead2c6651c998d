#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace vennic::index {

std::string compressedText(std::string_view text);
/// Nothing when the bytes are damaged or would grow beyond `most`.
std::optional<std::string> decompressedText(std::string_view bytes, std::size_t most);

} // namespace vennic::index
