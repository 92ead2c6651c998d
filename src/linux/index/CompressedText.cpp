#include "linux/index/CompressedText.h"

#include <zstd.h>

namespace vennic::index {

std::string compressedText(std::string_view text) {
    std::string result(ZSTD_compressBound(text.size()), '\0');
    constexpr int level = 3;
    result.resize(ZSTD_compress(result.data(), result.size(), text.data(), text.size(), level));
    return result;
}

std::optional<std::string> decompressedText(std::string_view bytes, std::size_t most) {
    const unsigned long long size = ZSTD_getFrameContentSize(bytes.data(), bytes.size());
    if (size > most) // the two error values are the largest numbers
        return std::nullopt;
    std::string result(size, '\0');
    const std::size_t got = ZSTD_decompress(result.data(), result.size(), bytes.data(), bytes.size());
    if (ZSTD_isError(got) || got != size)
        return std::nullopt;
    return result;
}

} // namespace vennic::index
