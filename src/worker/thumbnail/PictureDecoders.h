#pragma once
#include "worker/thumbnail/Raster.h"

#include <string>
#include <string_view>

namespace vennic::worker {

/// What is drawn for a square of `edge` pixels. Each function takes the bytes of a file of its form and gives its first
/// or only picture as it is stored, neither turned by its orientation tag nor converted from its colour profile, unless
/// the comment says otherwise. A picture may come smaller than it is stored, but not smaller than the square asks for.
/// Empty when the bytes are damaged, or the picture is larger than a Raster can be.

Raster rasterOfPng(std::string_view bytes);
/// By the standard's own reduction, so that a large photo costs little. One that ends early is drawn as far as it goes.
Raster rasterOfJpeg(std::string_view bytes, int edge);
/// The first frame, on its screen.
Raster rasterOfGif(std::string_view bytes);
/// All but the run-length forms.
Raster rasterOfBmp(std::string_view bytes);
Raster rasterOfTiff(std::string_view bytes);
/// The first frame of an animation.
Raster rasterOfWebp(std::string_view bytes, int edge);
/// HEIC and AVIF; upright already.
Raster rasterOfHeif(std::string_view bytes);
/// The ICC profile that such a file brings; empty where it brings none.
std::string colourProfileOfHeif(std::string_view bytes);

/// Drawn to fill the square; nothing that the file only names is loaded.
Raster rasterOfSvg(std::string_view bytes, int edge);
/// The first page, on white paper, to fill the square.
Raster rasterOfPdf(std::string_view bytes, int edge);

} // namespace vennic::worker
