#include "worker/PlainPicture.h"

#include <cstdint>
#include <leptonica/allheaders.h>

namespace vennic::worker {
namespace {

/// Whether what can be seen of a picture with an alpha channel is bright rather than dark.
bool isBright(const Pix* picture) {
    const int width = pixGetWidth(picture);
    const int height = pixGetHeight(picture);
    std::uint64_t bright = 0;
    std::uint64_t all = 0;
    for (int y = 0; y < height; ++y) {
        const l_uint32* const line = pixGetData(const_cast<Pix*>(picture)) +
                                     static_cast<std::size_t>(y) * static_cast<std::size_t>(pixGetWpl(picture));
        for (int x = 0; x < width; ++x) {
            const l_uint32 pixel = line[x];
            const l_uint32 alpha = (pixel >> L_ALPHA_SHIFT) & 0xff;
            const l_uint32 sum =
                ((pixel >> L_RED_SHIFT) & 0xff) + ((pixel >> L_GREEN_SHIFT) & 0xff) + ((pixel >> L_BLUE_SHIFT) & 0xff);
            bright += std::uint64_t{alpha} * sum;
            all += std::uint64_t{alpha} * 3 * 255;
        }
    }
    return bright > all / 2;
}

Picture onGround(Picture picture) {
    constexpr l_uint32 white = 0xffffff00;
    constexpr l_uint32 black = 0;
    return Picture(pixAlphaBlendUniform(picture.get(), isBright(picture.get()) ? black : white));
}

bool isLarge(const Pix* picture) {
    return double{1} * pixGetWidth(picture) * pixGetHeight(picture) > mostColouredPixels;
}

Picture greyIfLarge(Picture picture) {
    return picture && isLarge(picture.get()) ? Picture(pixConvertRGBToLuminance(picture.get())) : std::move(picture);
}

Picture withoutColormap(const Picture& picture) {
    int isOpaque = 1;
    pixcmapIsOpaque(pixGetColormap(picture.get()), &isOpaque);
    return Picture(pixRemoveColormap(picture.get(), isOpaque != 0 ? REMOVE_CMAP_BASED_ON_SRC : REMOVE_CMAP_WITH_ALPHA));
}

} // namespace

Picture plainPicture(Picture picture) {
    if (picture && pixGetColormap(picture.get()) != nullptr)
        picture = withoutColormap(picture);
    if (!picture)
        return picture;
    const int depth = pixGetDepth(picture.get());
    if (depth == 32)
        return greyIfLarge(pixGetSpp(picture.get()) == 4 ? onGround(std::move(picture)) : std::move(picture));
    if (depth == 1 || depth == 8)
        return picture;
    return Picture(pixConvertTo8(picture.get(), 0));
}

} // namespace vennic::worker
