#pragma once
#include <cstdint>

namespace vennic {

/// What a file is by its content.
enum class PictureFormat : std::uint16_t {
    none = 0, // no picture, or not the whole of one
    jpeg,
    png,
    gif,
    tiff, // and the raw formats that are TIFF files
    webp,
    heic,
    heif,
    avif,
    bmp,
    raw, // of a camera, in a container of its own
};

/// What a picture says of itself, as a record of fixed size. Its fields come from an unvetted file: each is within its
/// own bounds and no more.
struct PhotoFacts {
    PictureFormat format = PictureFormat::none;
    std::uint16_t dated = 0;  // 0 or 1: the fields up to `millisecond` hold when it was taken, by the clock on the wall
    std::uint16_t zoned = 0;  // 0 or 1: `offsetMinutes` holds
    std::uint16_t placed = 0; // 0 or 1: latitude and longitude hold
    std::uint16_t year = 0;   // 1 to 9999
    std::uint16_t month = 0;
    std::uint16_t day = 0;
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t millisecond = 0;
    std::int16_t offsetMinutes = 0; // east of UTC, -840 to 840
    double latitude = 0;            // degrees, -90 to 90
    double longitude = 0;           // degrees, -180 to 180
    bool operator==(const PhotoFacts&) const = default;
};
static_assert(sizeof(PhotoFacts) == 40);

} // namespace vennic
