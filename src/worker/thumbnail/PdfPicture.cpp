#include "worker/PdfFile.h"
#include "worker/thumbnail/PictureDecoders.h"
#include "worker/thumbnail/Square.h"

#include <cstring>
#include <poppler-document.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

namespace vennic::worker {
namespace {

struct Paper {
    double width = 0; // points, as the page is shown
    double height = 0;
};

Paper paperOf(const poppler::page& page) {
    const poppler::rectf box = page.page_rect(poppler::crop_box);
    const auto turn = page.orientation();
    const bool isOnItsSide = turn == poppler::page::landscape || turn == poppler::page::seascape;
    return isOnItsSide ? Paper{box.height(), box.width()} : Paper{box.width(), box.height()};
}

} // namespace

Raster rasterOfPdf(std::string_view bytes, int edge) {
    const auto document = openPdf(bytes);
    const std::unique_ptr<poppler::page> page(document ? document->create_page(0) : nullptr);
    if (!page)
        return {};
    const Paper paper = paperOf(*page);
    if (!(paper.width > 0 && paper.height > 0))
        return {};
    const PixelSize size = filling(paper.width, paper.height, edge);
    poppler::page_renderer renderer;
    renderer.set_image_format(poppler::image::format_argb32);
    renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
    constexpr double pointsPerInch = 72;
    const poppler::image image =
        renderer.render_page(page.get(), pointsPerInch * size.width / paper.width,
                             pointsPerInch * size.height / paper.height, 0, 0, size.width, size.height);
    // Out of memory, Poppler gives a picture of one pixel that counts as valid.
    if (!image.is_valid() || image.width() != size.width || image.height() != size.height)
        return {};
    Raster raster(size.width, size.height, Raster::Kind::opaque);
    if (!raster)
        return {};
    for (int y = 0; y < size.height; ++y)
        std::memcpy(raster.row(y).data(), image.const_data() + static_cast<std::ptrdiff_t>(image.bytes_per_row()) * y,
                    raster.row(y).size_bytes());
    return raster;
}

} // namespace vennic::worker
