#include "worker/thumbnail/PictureDecoders.h"

#include <leptonica/allheaders.h>

namespace vennic::worker {
namespace {
struct Destroy {
    void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using Picture = std::unique_ptr<Pix, Destroy>;
} // namespace

Raster decodeBmp(std::string_view bytes) {
    setMsgSeverity(L_SEVERITY_NONE);
    const Picture stored(pixReadMemBmp(reinterpret_cast<const l_uint8*>(bytes.data()), bytes.size()));
    if (!stored || !Raster::canBe(pixGetWidth(stored.get()), pixGetHeight(stored.get())))
        return {};
    const Picture colours(pixConvertTo32(stored.get()));
    if (!colours)
        return {};
    Raster raster(pixGetWidth(colours.get()), pixGetHeight(colours.get()), Raster::Kind::opaque);
    if (!raster)
        return {};
    for (int y = 0; y < raster.height(); ++y) {
        const l_uint32* from = pixGetData(colours.get()) + static_cast<std::ptrdiff_t>(pixGetWpl(colours.get())) * y;
        for (std::uint32_t& pixel : raster.row(y)) {
            pixel = pixelOf(*from >> L_RED_SHIFT & 0xffU, *from >> L_GREEN_SHIFT & 0xffU, *from >> L_BLUE_SHIFT & 0xffU);
            ++from;
        }
    }
    return raster;
}

} // namespace vennic::worker
