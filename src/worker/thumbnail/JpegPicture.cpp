#include "worker/thumbnail/Colours.h"
#include "worker/thumbnail/PictureDecoders.h"
#include "worker/thumbnail/PictureTags.h"

#include <algorithm>
#include <bit>
#include <turbojpeg.h>

namespace vennic::worker {
namespace {

struct Destroy {
    void operator()(void* decoder) const { tjDestroy(decoder); }
};

struct Header {
    int width = 0;
    int height = 0;
    int colours = 0;
};

/// The smallest of the sizes that the decoder can give from which the square can still be shrunk well.
tjscalingfactor reduction(const Header& header, int edge) {
    int count = 0;
    const tjscalingfactor* const factors = tjGetScalingFactors(&count);
    const int wanted = std::min(2 * edge, std::max(header.width, header.height));
    tjscalingfactor best{1, 1};
    for (const tjscalingfactor& factor : std::span(factors, static_cast<std::size_t>(count))) {
        const bool isLarge = std::max(TJSCALED(header.width, factor), TJSCALED(header.height, factor)) >= wanted;
        if (isLarge && factor.num * best.denom < best.num * factor.denom)
            best = factor;
    }
    return best;
}

} // namespace

Raster rasterOfJpeg(std::string_view bytes, int edge) {
    static_assert(std::endian::native == std::endian::little); // of TJPF_BGRX, and of the inks
    const std::unique_ptr<void, Destroy> decoder(tjInitDecompress());
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    Header header;
    int subsampling = 0;
    if (tjDecompressHeader3(decoder.get(), data, bytes.size(), &header.width, &header.height, &subsampling,
                            &header.colours) != 0)
        return {};
    const tjscalingfactor factor = reduction(header, edge);
    Raster raster(TJSCALED(header.width, factor), TJSCALED(header.height, factor), Raster::Kind::opaque);
    if (!raster)
        return {};
    const bool hasInks = header.colours == TJCS_CMYK || header.colours == TJCS_YCCK;
    auto* const pixels = reinterpret_cast<unsigned char*>(raster.row(0).data());
    const bool isWhole = tjDecompress2(decoder.get(), data, bytes.size(), pixels, raster.width(), 0, raster.height(),
                                       hasInks ? TJPF_CMYK : TJPF_BGRX, TJFLAG_LIMITSCANS) == 0;
    if (!isWhole && tjGetErrorCode(decoder.get()) != TJERR_WARNING)
        return {};
    return hasInks ? inksInSrgb(std::move(raster), readPictureTags(bytes).colourProfile) : std::move(raster);
}

} // namespace vennic::worker
