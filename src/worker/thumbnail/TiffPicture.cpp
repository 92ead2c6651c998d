#include "worker/thumbnail/PictureDecoders.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <tiffio.h>

namespace vennic::worker {
namespace {

/// A file in memory as libtiff reads one.
struct Source {
    std::string_view bytes;
    std::size_t at = 0;

    static Source& of(thandle_t handle) { return *static_cast<Source*>(handle); }
    static tmsize_t read(thandle_t handle, void* data, tmsize_t length) {
        Source& source = of(handle);
        const std::string_view given = source.bytes.substr(std::min(source.at, source.bytes.size()))
                                           .substr(0, static_cast<std::size_t>(std::max<tmsize_t>(length, 0)));
        std::memcpy(data, given.data(), given.size());
        source.at += given.size();
        return static_cast<tmsize_t>(given.size());
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        Source& source = of(handle);
        const toff_t from = whence == SEEK_CUR ? source.at : whence == SEEK_END ? source.bytes.size() : 0;
        source.at = static_cast<std::size_t>(from + offset);
        return source.at;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) { return of(handle).bytes.size(); }
    static int map(thandle_t handle, void** base, toff_t* length) {
        *base = const_cast<char*>(of(handle).bytes.data());
        *length = of(handle).bytes.size();
        return 1;
    }
    static void unmap(thandle_t, void*, toff_t) {}
};

struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

/// libtiff's own conversion of any colours, depth and layout to eight bits of red, green, blue and alpha.
class Conversion {
public:
    explicit Conversion(TIFF* tiff) : isGood_(TIFFRGBAImageBegin(&image_, tiff, 1, reason_.data()) == 1) {}
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;
    ~Conversion() {
        if (isGood_)
            TIFFRGBAImageEnd(&image_);
    }
    bool isGood() const { return isGood_; }
    TIFFRGBAImage& image() { return image_; }

private:
    std::array<char, 1024> reason_{}; // of the size that libtiff asks for
    TIFFRGBAImage image_{};
    bool isGood_;
};

std::uint32_t pixelOfTiff(std::uint32_t pixel) {
    return TIFFGetA(pixel) << 24U | TIFFGetR(pixel) << 16U | TIFFGetG(pixel) << 8U | TIFFGetB(pixel);
}

} // namespace

Raster rasterOfTiff(std::string_view bytes) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    Source source{bytes};
    const std::unique_ptr<TIFF, Close> tiff(TIFFClientOpen("", "r", &source, Source::read, Source::write, Source::seek,
                                                           Source::close, Source::size, Source::map, Source::unmap));
    if (!tiff)
        return {};
    Conversion conversion(tiff.get());
    if (!conversion.isGood())
        return {};
    TIFFRGBAImage& image = conversion.image();
    // libtiff would honour half of the orientations, by mirroring; here the picture is wanted as it is stored.
    image.orientation = ORIENTATION_TOPLEFT;
    image.req_orientation = ORIENTATION_TOPLEFT;
    if (!Raster::canBe(image.width, image.height))
        return {};
    const auto kind = image.alpha != 0 ? Raster::Kind::withAlpha : Raster::Kind::opaque;
    Raster raster(static_cast<int>(image.width), static_cast<int>(image.height), kind);
    if (!raster || TIFFRGBAImageGet(&image, raster.row(0).data(), image.width, image.height) != 1)
        return {};
    for (int y = 0; y < raster.height(); ++y)
        std::ranges::transform(raster.row(y), raster.row(y).begin(), pixelOfTiff);
    return raster;
}

} // namespace vennic::worker
