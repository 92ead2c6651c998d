#include "worker/thumbnail/Finish.h"

#include "worker/thumbnail/Square.h"

#include <array>
#include <new>
#include <stb/stb_image_resize.h>
#include <utility>

namespace vennic::worker {
namespace {

struct DestroyContext {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};

Raster::Kind kindOf(const Raster& picture) {
    return picture.isOpaque() ? Raster::Kind::opaque : Raster::Kind::withAlpha;
}

/// Where the stored picture's unit square comes to lie for each orientation.
cairo_matrix_t placing(int orientation, double width, double height) {
    // xx, yx, xy, yy, x0, y0: x' = xx·x + xy·y + x0, y' = yx·x + yy·y + y0.
    const std::array<cairo_matrix_t, 8> matrices{{
        {1, 0, 0, 1, 0, 0},
        {-1, 0, 0, 1, width, 0},
        {-1, 0, 0, -1, width, height},
        {1, 0, 0, -1, 0, height},
        {0, 1, 1, 0, 0, 0},
        {0, 1, -1, 0, height, 0},
        {0, -1, -1, 0, height, width},
        {0, -1, 1, 0, 0, width},
    }};
    return matrices[static_cast<std::size_t>(orientation - 1)];
}

cairo_status_t append(void* closure, const unsigned char* data, unsigned length) {
    try {
        static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    } catch (const std::bad_alloc&) { // Cairo is C
        return CAIRO_STATUS_NO_MEMORY;
    }
    return CAIRO_STATUS_SUCCESS;
}

} // namespace

Raster shrunk(Raster picture, int edge) {
    if (!picture)
        return {};
    const PixelSize size = fitting(picture.width(), picture.height(), edge);
    if (size == PixelSize{picture.width(), picture.height()})
        return picture;
    Raster small(size.width, size.height, kindOf(picture));
    constexpr int channels = 4;
    constexpr int alphaChannel = 3;
    const auto bytes = [](Raster& raster) { return reinterpret_cast<unsigned char*>(raster.row(0).data()); };
    if (!small ||
        stbir_resize_uint8_generic(bytes(picture), picture.width(), picture.height(), 0, bytes(small), size.width,
                                   size.height, 0, channels, alphaChannel, STBIR_FLAG_ALPHA_PREMULTIPLIED,
                                   STBIR_EDGE_CLAMP, STBIR_FILTER_DEFAULT, STBIR_COLORSPACE_LINEAR, nullptr) == 0)
        return {};
    return small;
}

Raster upright(Raster picture, int orientation) {
    if (!picture || orientation == 1)
        return picture;
    const bool isOnItsSide = orientation >= 5;
    Raster turned(isOnItsSide ? picture.height() : picture.width(), isOnItsSide ? picture.width() : picture.height(),
                  kindOf(picture));
    if (!turned)
        return {};
    const std::unique_ptr<cairo_t, DestroyContext> context(cairo_create(turned.surface()));
    const cairo_matrix_t matrix = placing(orientation, picture.width(), picture.height());
    cairo_set_matrix(context.get(), &matrix);
    cairo_set_source_surface(context.get(), picture.surface(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(context.get()), CAIRO_FILTER_NEAREST);
    cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
    cairo_paint(context.get());
    cairo_surface_flush(turned.surface());
    return turned;
}

std::string encodePng(const Raster& picture) {
    std::string png;
    if (!picture || cairo_surface_write_to_png_stream(picture.surface(), append, &png) != CAIRO_STATUS_SUCCESS)
        return {};
    return png;
}

} // namespace vennic::worker
