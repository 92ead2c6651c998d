#pragma once
#include "worker/thumbnail/Raster.h"

#include <string_view>

namespace vennic::worker {

/// A picture of what a file shows, upright and in sRGB, whose sides are at most `edge` pixels. The file's form is told
/// by its bytes. Empty when it is of no form that can be drawn, or damaged, or too large.
Raster drawThumbnail(std::string_view bytes, int edge);

} // namespace vennic::worker
