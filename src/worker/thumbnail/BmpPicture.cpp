#include "worker/thumbnail/PictureDecoders.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stb/stb_image.h>

namespace vennic::worker {
namespace {

struct Free {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

/// Whether the header is of a known length; the library would take a file with another for something else.
bool isBmp(std::string_view bytes) {
    constexpr std::size_t lengthAt = 14;
    constexpr std::array lengths{'\x0c', '\x28', '\x38', '\x6c', '\x7c'};
    return bytes.size() > lengthAt && std::ranges::find(lengths, bytes[lengthAt]) != lengths.end() &&
           bytes.substr(lengthAt + 1, 3) == std::string_view("\0\0\0", 3);
}

} // namespace

Raster rasterOfBmp(std::string_view bytes) {
    if (!isBmp(bytes))
        return {};
    const auto* const data = reinterpret_cast<const stbi_uc*>(bytes.data());
    const int length = static_cast<int>(std::min<std::size_t>(bytes.size(), std::numeric_limits<int>::max()));
    int width = 0;
    int height = 0;
    int channels = 0;
    if (stbi_info_from_memory(data, length, &width, &height, &channels) == 0 || !Raster::canBe(width, height))
        return {};
    constexpr int stored = 4; // red, green, blue, alpha
    const std::unique_ptr<stbi_uc, Free> pixels(
        stbi_load_from_memory(data, length, &width, &height, &channels, stored));
    const bool hasAlpha = channels == 2 || channels == 4;
    Raster raster(width, height, hasAlpha ? Raster::Kind::withAlpha : Raster::Kind::opaque);
    if (!pixels || !raster)
        return {};
    const stbi_uc* from = pixels.get();
    for (int y = 0; y < height; ++y) {
        for (std::uint32_t& pixel : raster.row(y)) {
            pixel = pixelOf(from[0], from[1], from[2], hasAlpha ? from[3] : 255);
            from += stored;
        }
    }
    return raster;
}

} // namespace vennic::worker
