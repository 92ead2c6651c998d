#include "worker/thumbnail/PictureTags.h"

#include <exiv2/exiv2.hpp>

namespace vennic::worker {

PictureTags readPictureTags(std::string_view bytes) {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    PictureTags tags;
    try {
        const auto image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(bytes.data()),
                                                     static_cast<long>(bytes.size()));
        image->readMetadata();
        if (image->iccProfileDefined()) {
            const Exiv2::DataBuf& profile = *image->iccProfile();
            tags.colourProfile.assign(reinterpret_cast<const char*>(profile.pData_),
                                      static_cast<std::size_t>(profile.size_));
        }
        const Exiv2::ExifData& exif = image->exifData();
        const auto found = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        const long orientation = found == exif.end() ? 1 : found->toLong();
        if (orientation >= 1 && orientation <= 8)
            tags.orientation = static_cast<int>(orientation);
    } catch (const Exiv2::AnyError&) { // NOLINT(bugprone-empty-catch): the pixels may be good all the same
    }
    return tags;
}

} // namespace vennic::worker
