#include "worker/thumbnail/Raster.h"

namespace vennic::worker {

Raster::Raster(int width, int height, Kind kind)
    : Raster(canBe(width, height) ? cairo_image_surface_create(
                                        kind == Kind::opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, width, height)
                                  : nullptr) {}

Raster::Raster(cairo_surface_t* surface) : surface_(surface) {
    if (surface == nullptr)
        return;
    const cairo_format_t format = cairo_image_surface_get_format(surface);
    const bool isGood = cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS &&
                        (format == CAIRO_FORMAT_RGB24 || format == CAIRO_FORMAT_ARGB32);
    if (!isGood)
        surface_.reset();
    else
        cairo_surface_flush(surface);
}

std::span<std::uint32_t> Raster::row(int index) {
    cairo_surface_mark_dirty(surface_.get());
    auto* const data = reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface_.get()));
    const std::size_t width = static_cast<std::size_t>(this->width()); // a row of 32-bit pixels has no padding
    return {data + width * static_cast<std::size_t>(index), width};
}

} // namespace vennic::worker
