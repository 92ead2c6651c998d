#pragma once
#include <memory>

struct Pix;

namespace vennic::worker {

struct PictureRelease {
    void operator()(Pix* picture) const;
};

/// A picture in memory, of the kind that Leptonica and Tesseract work on; null where there is none.
using Picture = std::unique_ptr<Pix, PictureRelease>;

} // namespace vennic::worker
