#pragma once
#include "worker/thumbnail/Raster.h"

#include <string>

namespace vennic::worker {

/// The picture shrunk until no side is longer than `edge`; itself when none is.
Raster shrunk(Raster picture, int edge);

/// The picture mirrored and turned as its tag says (Exif 2.32, 4.6.4; 1 to 8).
Raster upright(Raster picture, int orientation);

/// The picture as a PNG; empty when there is no memory for it.
std::string encodePng(const Raster& picture);

} // namespace vennic::worker
