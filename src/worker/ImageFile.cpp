#include "worker/ImageFile.h"

#include "worker/BmpImage.h"
#include "worker/GifTransparency.h"
#include "worker/HeifImage.h"
#include "worker/ImageOrientation.h"
#include "worker/PlainPicture.h"

#include <leptonica/allheaders.h>
#include <optional>

namespace vennic::worker {
namespace {

/// Leptonica's name of the form, by the first bytes.
int formatOf(std::string_view bytes) {
    constexpr std::size_t longestMark = 16; // more than is looked at
    int format = IFF_UNKNOWN;
    if (bytes.size() >= longestMark)
        findFileFormatBuffer(reinterpret_cast<const l_uint8*>(bytes.data()), &format);
    return format;
}

Picture decodeByLeptonica(std::string_view bytes) {
    return Picture(pixReadMem(reinterpret_cast<const l_uint8*>(bytes.data()), bytes.size()));
}

Picture decodeGif(std::string_view bytes) {
    Picture picture = decodeByLeptonica(bytes);
    PIXCMAP* const colours = picture ? pixGetColormap(picture.get()) : nullptr;
    const auto transparent = transparentColour(bytes);
    if (colours != nullptr && transparent && *transparent < pixcmapGetCount(colours))
        pixcmapSetAlpha(colours, *transparent, 0);
    return picture;
}

Picture decodeStored(std::string_view bytes) {
    if (isHeif(bytes))
        return heifImage(bytes);
    switch (formatOf(bytes)) {
    case IFF_BMP:
        return decodeBmp(bytes);
    case IFF_GIF:
        return decodeGif(bytes);
    case IFF_PNG:
    case IFF_JFIF_JPEG: {
        Picture picture = decodeByLeptonica(bytes);
        return picture ? upright(std::move(picture), imageOrientation(bytes)) : nullptr;
    }
    case IFF_TIFF:
    case IFF_TIFF_PACKBITS:
    case IFF_TIFF_RLE:
    case IFF_TIFF_G3:
    case IFF_TIFF_G4:
    case IFF_TIFF_LZW:
    case IFF_TIFF_ZIP:
    case IFF_TIFF_JPEG:
        return decodeByLeptonica(bytes); // which turns it
    default:
        return nullptr;
    }
}

} // namespace

void warmUpImages() {
    setMsgSeverity(L_SEVERITY_NONE);
    warmUpHeif();
}

Picture decodeImage(std::string_view bytes) { return plainPicture(decodeStored(bytes)); }

} // namespace vennic::worker
