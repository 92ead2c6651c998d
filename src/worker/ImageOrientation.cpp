#include "worker/ImageOrientation.h"

#include <exiv2/exiv2.hpp>
#include <leptonica/allheaders.h>

namespace vennic::worker {
namespace {

Picture mirrored(Picture picture) { return Picture(pixFlipLR(nullptr, picture.get())); }

Picture turned(const Picture& picture, int quartersClockwise) {
    return Picture(pixRotateOrth(picture.get(), quartersClockwise));
}

} // namespace

int imageOrientation(std::string_view bytes) {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    try {
        const auto image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(bytes.data()),
                                                     static_cast<long>(bytes.size()));
        image->readMetadata();
        const auto found = image->exifData().findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        const long orientation = found == image->exifData().end() ? 1 : found->toLong();
        return orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 1;
    } catch (const Exiv2::AnyError&) {
        return 1; // the picture may be good all the same
    }
}

Picture upright(Picture picture, int orientation) {
    switch (orientation) {
    case 2:
        return mirrored(std::move(picture));
    case 3:
        return turned(picture, 2);
    case 4:
        return mirrored(turned(picture, 2));
    case 5:
        return mirrored(turned(picture, 1));
    case 6:
        return turned(picture, 1);
    case 7:
        return mirrored(turned(picture, 3));
    case 8:
        return turned(picture, 3);
    default:
        return picture;
    }
}

} // namespace vennic::worker
