#include "worker/ImageFile.h"

#include "worker/HeifImage.h"

#include <leptonica/allheaders.h>

namespace vennic::worker {
namespace {

bool isRead(int format) {
    switch (format) {
    case IFF_BMP:
    case IFF_JFIF_JPEG:
    case IFF_PNG:
    case IFF_TIFF:
    case IFF_TIFF_PACKBITS:
    case IFF_TIFF_RLE:
    case IFF_TIFF_G3:
    case IFF_TIFF_G4:
    case IFF_TIFF_LZW:
    case IFF_TIFF_ZIP:
    case IFF_TIFF_JPEG:
    case IFF_GIF:
        return true;
    default:
        return false;
    }
}

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

/// Text on nothing would vanish on a ground of its own brightness, so the ground is what it isn't.
Picture onGround(Picture picture) {
    constexpr l_uint32 white = 0xffffff00;
    constexpr l_uint32 black = 0;
    return Picture(pixAlphaBlendUniform(picture.get(), isBright(picture.get()) ? black : white));
}

bool isLarge(const Pix* picture) {
    return double{1} * pixGetWidth(picture) * pixGetHeight(picture) > mostColouredPixels;
}

Picture greyIfLarge(Picture picture) {
    return picture && isLarge(picture.get()) ? Picture(pixConvertRGBToGrayFast(picture.get())) : std::move(picture);
}

Picture inPlainDepth(Picture picture) {
    if (picture && pixGetColormap(picture.get()) != nullptr)
        picture.reset(pixRemoveColormap(picture.get(), REMOVE_CMAP_BASED_ON_SRC));
    if (!picture)
        return picture;
    const int depth = pixGetDepth(picture.get());
    if (depth == 32)
        return greyIfLarge(pixGetSpp(picture.get()) == 4 ? onGround(std::move(picture)) : std::move(picture));
    if (depth == 1 || depth == 8)
        return picture;
    return Picture(pixConvertTo8(picture.get(), 0));
}

} // namespace

void warmUpImages() {
    setMsgSeverity(L_SEVERITY_NONE);
    warmUpHeif();
}

Picture decodeImage(std::string_view bytes) {
    if (isHeif(bytes))
        return heifImage(bytes);
    constexpr std::size_t longestMark = 16; // more than is looked at to know a format
    const auto* const data = reinterpret_cast<const l_uint8*>(bytes.data());
    int format = IFF_UNKNOWN;
    if (bytes.size() < longestMark || findFileFormatBuffer(data, &format) != 0 || !isRead(format))
        return nullptr;
    return inPlainDepth(Picture(pixReadMem(data, bytes.size())));
}

} // namespace vennic::worker
