#pragma once
#include <memory>

struct Pix;

namespace vennic::worker {

struct PictureRelease {
    void operator()(Pix* picture) const;
};

/// A picture in memory, of the kind that Leptonica and Tesseract work on; null where there is none.
using Picture = std::unique_ptr<Pix, PictureRelease>;

/// Pictures of more pixels are worked on in grey: in colour they take four times the memory.
inline constexpr double mostColouredPixels = 32e6;

} // namespace vennic::worker
