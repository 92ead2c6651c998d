#pragma once
#include "worker/Picture.h"

namespace poppler {
class document;
}

namespace vennic::worker {

/// Loads the fonts that a document may name without bringing them.
void warmUpPdfPictures();

/// Page `index` from 0 on as it is shown, on white paper, at `dpi` pixels for each 72 of its points, cut to whole
/// pixels. Null when there is no such page, when it has no size, and when its picture doesn't fit into memory.
Picture pictureOfPdfPage(const poppler::document& document, int index, double dpi);

} // namespace vennic::worker
