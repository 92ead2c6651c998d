#include "worker/thumbnail/Colours.h"

#include <algorithm>
#include <lcms2.h>
#include <memory>

namespace vennic::worker {
namespace {

struct Release {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
struct Close {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, Close>;

/// How pixels of `space` are stored, and how they are to be.
struct Conversion {
    cmsColorSpaceSignature space;
    cmsUInt32Number from;
    cmsUInt32Number to;
};

/// Converts in place. False when the profile isn't one of that space.
bool convert(Raster& picture, std::string_view profile, const Conversion& conversion) {
    const Profile from(cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    if (!from || cmsGetColorSpace(from.get()) != conversion.space)
        return false;
    const Profile to(cmsCreate_sRGBProfile());
    const std::unique_ptr<void, Release> transform(
        cmsCreateTransform(from.get(), conversion.from, to.get(), conversion.to, INTENT_RELATIVE_COLORIMETRIC,
                           cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_COPY_ALPHA));
    if (!transform)
        return false;
    for (int y = 0; y < picture.height(); ++y) {
        const std::span<std::uint32_t> row = picture.row(y);
        cmsDoTransform(transform.get(), row.data(), row.data(), static_cast<cmsUInt32Number>(row.size()));
    }
    return true;
}

/// Not exact, as no such conversion is without a profile.
std::uint32_t pixelOfInks(std::uint32_t inks) {
    const auto byte = [inks](unsigned index) { return inks >> (8U * index) & 0xffU; };
    const std::uint32_t black = byte(3);
    return pixelOf(byte(0) * black / 255, byte(1) * black / 255, byte(2) * black / 255);
}

} // namespace

Raster inSrgb(Raster picture, std::string_view profile) {
    const cmsUInt32Number stored = !picture || picture.isOpaque() ? TYPE_BGRA_8 : TYPE_BGRA_8_PREMUL;
    if (picture)
        convert(picture, profile, {cmsSigRgbData, stored, stored});
    return picture;
}

Raster inksInSrgb(Raster inks, std::string_view profile) {
    if (!inks || convert(inks, profile, {cmsSigCmykData, TYPE_CMYK_8_REV, TYPE_BGRA_8}))
        return inks;
    for (int y = 0; y < inks.height(); ++y)
        std::ranges::transform(inks.row(y), inks.row(y).begin(), pixelOfInks);
    return inks;
}

} // namespace vennic::worker
