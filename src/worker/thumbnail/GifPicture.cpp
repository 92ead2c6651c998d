#include "worker/thumbnail/PictureDecoders.h"

#include <algorithm>
#include <cstring>
#include <gif_lib.h>
#include <vector>

namespace vennic::worker {
namespace {

struct Close {
    void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};

int give(GifFileType* gif, GifByteType* data, int length) {
    auto& left = *static_cast<std::string_view*>(gif->UserData);
    const std::size_t given = std::min(left.size(), static_cast<std::size_t>(length));
    std::memcpy(data, left.data(), given);
    left.remove_prefix(given);
    return static_cast<int>(given);
}

/// Goes to the first frame and gives the colour index that it leaves transparent, or NO_TRANSPARENT_COLOR. False when
/// there is no frame.
bool findFrame(GifFileType& gif, int& transparent) {
    transparent = NO_TRANSPARENT_COLOR;
    GifRecordType record = UNDEFINED_RECORD_TYPE;
    while (DGifGetRecordType(&gif, &record) == GIF_OK && record != TERMINATE_RECORD_TYPE) {
        if (record == IMAGE_DESC_RECORD_TYPE)
            return DGifGetImageDesc(&gif) == GIF_OK;
        int code = 0;
        GifByteType* block = nullptr;
        if (record != EXTENSION_RECORD_TYPE || DGifGetExtension(&gif, &code, &block) != GIF_OK)
            return false;
        GraphicsControlBlock control{};
        if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr &&
            DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
            transparent = control.TransparentColor;
        while (block != nullptr) {
            if (DGifGetExtensionNext(&gif, &block) != GIF_OK)
                return false;
        }
    }
    return false;
}

/// GIF89a, appendix E: which row comes when.
std::vector<int> rowOrder(int height, bool interlaced) {
    std::vector<int> rows;
    rows.reserve(static_cast<std::size_t>(height));
    struct Pass {
        int first;
        int step;
    };
    constexpr Pass interlace[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    constexpr Pass plain[] = {{0, 1}};
    for (const Pass& pass : interlaced ? std::span<const Pass>(interlace) : std::span<const Pass>(plain)) {
        for (int row = pass.first; row < height; row += pass.step)
            rows.push_back(row);
    }
    return rows;
}

std::vector<std::uint32_t> palette(const ColorMapObject& map, int transparent) {
    std::vector<std::uint32_t> colours(256, 0); // an index without a colour shows nothing
    for (int i = 0; i < std::min(map.ColorCount, 256); ++i) {
        const GifColorType& colour = map.Colors[i];
        colours[static_cast<std::size_t>(i)] = i == transparent ? 0 : pixelOf(colour.Red, colour.Green, colour.Blue);
    }
    return colours;
}

} // namespace

Raster rasterOfGif(std::string_view bytes) {
    const std::unique_ptr<GifFileType, Close> gif(DGifOpen(&bytes, give, nullptr));
    int transparent = NO_TRANSPARENT_COLOR;
    if (!gif || !findFrame(*gif, transparent))
        return {};
    const GifImageDesc& frame = gif->Image;
    const ColorMapObject* const map = frame.ColorMap != nullptr ? frame.ColorMap : gif->SColorMap;
    // Some files say no screen, or one that their frame leaves.
    const int width = std::max(gif->SWidth, frame.Left + frame.Width);
    const int height = std::max(gif->SHeight, frame.Top + frame.Height);
    const bool isOpaque = transparent == NO_TRANSPARENT_COLOR && frame.Width == width && frame.Height == height;
    Raster screen(width, height, isOpaque ? Raster::Kind::opaque : Raster::Kind::withAlpha);
    if (!screen || map == nullptr || frame.Left < 0 || frame.Top < 0 || frame.Width <= 0 || frame.Height <= 0)
        return {};
    const std::vector<std::uint32_t> colours = palette(*map, transparent);
    std::vector<GifPixelType> indices(static_cast<std::size_t>(frame.Width));
    for (const int row : rowOrder(frame.Height, frame.Interlace)) {
        if (DGifGetLine(gif.get(), indices.data(), frame.Width) != GIF_OK)
            return {};
        std::ranges::transform(indices, screen.row(frame.Top + row).begin() + frame.Left,
                               [&colours](GifPixelType index) { return colours[index]; });
    }
    return screen;
}

} // namespace vennic::worker
