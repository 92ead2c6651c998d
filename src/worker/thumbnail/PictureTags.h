#pragma once
#include <string>
#include <string_view>

namespace vennic::worker {

/// What a picture's file says of how its pixels are to be shown.
struct PictureTags {
    int orientation = 1;       // Exif 2.32, 4.6.4: 1 as stored, 2 to 8 mirrored and turned
    std::string colourProfile; // ICC.1; empty where the file brings none
};

/// The tags of a PNG, JPEG, TIFF or WebP; those of a plain picture where they can't be read.
PictureTags readPictureTags(std::string_view bytes);

} // namespace vennic::worker
