#pragma once
#include <string_view>

namespace vennic::worker {

enum class PictureForm { none, png, jpeg, gif, bmp, tiff, webp, heif, svg, pdf };

/// What a file is, by its first bytes alone: its name may say anything.
PictureForm pictureForm(std::string_view bytes);

} // namespace vennic::worker
