#pragma once
#include "worker/Picture.h"

#include <string_view>

namespace vennic::worker {

/// The picture of a BMP file, 32 bits deep, with an alpha channel where the file has a used one: headers from OS/2's to
/// Windows' fifth version, all depths, bit fields and both run-length forms, which Leptonica doesn't read. What the
/// runs leave out has the first colour of the palette. Null when the bytes are no such file, or hold fewer pixels than
/// it says.
///
/// https://learn.microsoft.com/windows/win32/gdi/bitmap-storage
Picture decodeBmp(std::string_view bytes);

} // namespace vennic::worker
