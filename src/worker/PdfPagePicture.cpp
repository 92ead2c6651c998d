#include "worker/PdfPagePicture.h"

#include "worker/PdfFile.h"
#include "worker/PlainPicture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <leptonica/allheaders.h>
#include <poppler-document.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

namespace vennic::worker {
namespace {

struct Size {
    int width = 0;
    int height = 0;
};

Size sizeInPixels(const poppler::page& page, double dpi) {
    const poppler::rectf shown = page.page_rect(poppler::crop_box);
    const auto pixels = [dpi](double points) {
        constexpr double most = 1 << 20; // beyond any memory, within an int
        const double exact = points * dpi / 72;
        return exact >= 1 && exact < most ? static_cast<int>(std::floor(exact)) : 0;
    };
    const Size upright{pixels(shown.width()), pixels(shown.height())};
    const auto turned = page.orientation();
    return turned == poppler::page::landscape || turned == poppler::page::seascape ? Size{upright.height, upright.width}
                                                                                   : upright;
}

/// Poppler's words hold alpha, red, green and blue from the top; Leptonica's red, green, blue and alpha.
void copyColours(const char* from, l_uint32* to, int width) {
    std::memcpy(to, from, static_cast<std::size_t>(width) * sizeof *to);
    std::transform(to, to + width, to, [](l_uint32 argb) { return argb << 8 | 0xff; });
}

/// Leptonica's bytes stand in words whose first is the highest.
void copyGreys(const char* from, l_uint32* to, int width) {
    for (int x = 0; x < width; ++x)
        SET_DATA_BYTE(to, x, static_cast<l_uint8>(from[x]));
}

Picture pictureOf(const poppler::image& image) {
    const bool isGrey = image.format() == poppler::image::format_gray8;
    Picture picture(pixCreateNoInit(image.width(), image.height(), isGrey ? 8 : 32));
    if (!picture)
        return nullptr;
    for (int y = 0; y < image.height(); ++y) {
        const char* const from = image.const_data() + static_cast<std::ptrdiff_t>(y) * image.bytes_per_row();
        l_uint32* const to = pixGetData(picture.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(picture.get());
        (isGrey ? copyGreys : copyColours)(from, to, image.width());
    }
    return picture;
}

} // namespace

void warmUpPdfPictures() {
    static constexpr std::string_view page =
        "%PDF-1.1\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
        "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
        "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents 4 0 R/Resources<</Font<</F<</Type/Font/Subtype"
        "/Type1/BaseFont/Helvetica>>>>>>>>endobj\n"
        "4 0 obj<</Length 20>>stream\nBT /F 9 Tf (a) Tj ET\nendstream endobj\ntrailer<</Root 1 0 R>>\n%%EOF";
    if (const auto pdf = openPdf(page))
        (void)pictureOfPdfPage(*pdf, 0, 72);
}

Picture pictureOfPdfPage(const poppler::document& document, int index, double dpi) {
    const std::unique_ptr<poppler::page> page(document.create_page(index));
    if (!page)
        return nullptr;
    const Size size = sizeInPixels(*page, dpi);
    if (size.width == 0 || size.height == 0)
        return nullptr;
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::antialiasing);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    if (double{1} * size.width * size.height > mostColouredPixels)
        renderer.set_image_format(poppler::image::format_gray8);
    const poppler::image image = renderer.render_page(page.get(), dpi, dpi, 0, 0, size.width, size.height);
    // Out of memory, Poppler draws one pixel and calls it the page.
    if (!image.is_valid() || image.width() != size.width || image.height() != size.height)
        return nullptr;
    return pictureOf(image);
}

} // namespace vennic::worker
