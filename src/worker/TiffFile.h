#pragma once
#include <string_view>

namespace vennic::worker {

/// Whether a TIFF file (TIFF 6.0) has an image and all that its directories point at: themselves, their basic values,
/// and the strips or tiles that its images are stored in.
bool tiffIsWhole(std::string_view bytes);

} // namespace vennic::worker
