#pragma once
#include "worker/Picture.h"

#include <string_view>

namespace vennic::worker {

/// Loads what decoding would otherwise load from disk in the middle of its first image, and has it complain to nobody.
void warmUpImages();

/// The picture in the bytes of a PNG, JPEG, TIFF, GIF, BMP, HEIC or HEIF file, recognised by its content, the first
/// where there are several: one bit deep, or eight bits of grey, or 32 of red, green and blue. Null when they are no
/// such file, or one whose picture doesn't fit into memory.
Picture decodeImage(std::string_view bytes);

} // namespace vennic::worker
