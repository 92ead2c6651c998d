#pragma once
#include "worker/thumbnail/Raster.h"

#include <string_view>

namespace vennic::worker {

/// The picture's colours converted from its ICC profile to sRGB; itself when the profile isn't one of red, green and
/// blue.
Raster inSrgb(Raster picture, std::string_view profile);

/// The same where each pixel holds four inks as a JPEG stores them, cyan in its lowest byte, 255 being none: converted
/// by the profile, or plainly when that isn't one of four inks.
Raster inksInSrgb(Raster inks, std::string_view profile);

} // namespace vennic::worker
