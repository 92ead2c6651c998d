#include "worker/thumbnail/PictureDecoders.h"
#include "worker/thumbnail/Square.h"

#include <cmath>
#include <librsvg/rsvg.h>
#include <optional>

namespace vennic::worker {
namespace {

struct Unref {
    void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
};
struct Destroy {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};

struct Shape {
    double width = 0;
    double height = 0;
    bool isGood() const { return std::isnormal(width) && std::isnormal(height) && width > 0 && height > 0; }
};

/// The drawing's proportions: what it says of its size, else of its view, else a square.
Shape shapeOf(RsvgHandle* handle) {
    Shape shape;
    if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &shape.width, &shape.height) != FALSE && shape.isGood())
        return shape;
    gboolean hasView = FALSE;
    RsvgRectangle view{};
    rsvg_handle_get_intrinsic_dimensions(handle, nullptr, nullptr, nullptr, nullptr, &hasView, &view);
    shape = {view.width, view.height};
    return hasView != FALSE && shape.isGood() ? shape : Shape{1, 1};
}

} // namespace

Raster rasterOfSvg(std::string_view bytes, int edge) {
    // Without an address of its own, the drawing can load nothing but what it holds.
    const std::unique_ptr<RsvgHandle, Unref> handle(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(bytes.data()), bytes.size(), nullptr));
    if (!handle)
        return {};
    constexpr double dotsPerInch = 96; // of CSS
    rsvg_handle_set_dpi(handle.get(), dotsPerInch);
    const Shape shape = shapeOf(handle.get());
    const PixelSize size = filling(shape.width, shape.height, edge);
    Raster raster(size.width, size.height, Raster::Kind::withAlpha);
    if (!raster)
        return {};
    const std::unique_ptr<cairo_t, Destroy> context(cairo_create(raster.surface()));
    const RsvgRectangle viewport{0, 0, static_cast<double>(size.width), static_cast<double>(size.height)};
    if (rsvg_handle_render_document(handle.get(), context.get(), &viewport, nullptr) == FALSE)
        return {};
    cairo_surface_flush(raster.surface());
    return raster;
}

} // namespace vennic::worker
