#include "worker/Picture.h"

#include <leptonica/allheaders.h>

namespace vennic::worker {

void PictureRelease::operator()(Pix* picture) const { pixDestroy(&picture); }

} // namespace vennic::worker
