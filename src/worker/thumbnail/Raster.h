#pragma once
#include <cairo.h>
#include <cstdint>
#include <memory>
#include <span>

namespace vennic::worker {

/// A grid of pixels in memory: 32 bits each in the machine's byte order, 0xAARRGGBB, colours multiplied by alpha.
/// Cairo draws into it, and every decoder writes into it. Rows stand from top to bottom.
class Raster {
public:
    enum class Kind { opaque, withAlpha };

    /// Cairo's own ceiling of a side, and what a third of the box's memory holds: a decoder needs as much again.
    static constexpr int longestSide = 32767;
    static constexpr std::int64_t mostPixels = 67'108'864;
    static bool canBe(std::int64_t width, std::int64_t height) {
        return width > 0 && height > 0 && width <= longestSide && height <= longestSide && width * height <= mostPixels;
    }

    Raster() = default; // empty
    /// Transparent, or black. Empty when it can't be.
    Raster(int width, int height, Kind kind);
    /// Takes over an image surface; empty when that is in error or of another format.
    explicit Raster(cairo_surface_t* surface);

    explicit operator bool() const { return surface_ != nullptr; }
    int width() const { return cairo_image_surface_get_width(surface_.get()); }
    int height() const { return cairo_image_surface_get_height(surface_.get()); }
    bool isOpaque() const { return cairo_image_surface_get_format(surface_.get()) == CAIRO_FORMAT_RGB24; }
    /// To write to; Cairo sees what was written.
    std::span<std::uint32_t> row(int index);
    std::span<const std::uint32_t> row(int index) const { return const_cast<Raster*>(this)->row(index); }
    cairo_surface_t* surface() const { return surface_.get(); }

private:
    struct Destroy {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    };
    std::unique_ptr<cairo_surface_t, Destroy> surface_;
};

/// A pixel of straight 8-bit colours and alpha.
constexpr std::uint32_t pixelOf(std::uint32_t red, std::uint32_t green, std::uint32_t blue, std::uint32_t alpha) {
    const auto times = [alpha](std::uint32_t colour) { return (colour * alpha + 127) / 255; };
    return alpha << 24U | times(red) << 16U | times(green) << 8U | times(blue);
}
constexpr std::uint32_t pixelOf(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return 0xff000000U | red << 16U | green << 8U | blue;
}

} // namespace vennic::worker
