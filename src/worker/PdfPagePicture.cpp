#include "worker/PdfPagePicture.h"

#include "worker/PdfFile.h"
#include "worker/PlainPicture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <leptonica/allheaders.h>
#include <limits>
// Poppler's own interface, which promises nothing between two versions: its public ones clip a page to the crop box.
#include <PDFDoc.h>
#include <SplashOutputDev.h>
#include <Stream.h>
#include <splash/SplashBitmap.h>

namespace vennic::worker {
namespace {

struct Size {
    int width = 0;
    int height = 0;
};

Size sizeInPixels(const Page& page, double dpi) {
    const auto pixels = [dpi](double points) {
        constexpr double most = 1 << 20; // beyond any memory, within an int
        const double exact = points * dpi / 72;
        return exact >= 1 && exact < most ? static_cast<int>(std::floor(exact)) : 0;
    };
    const Size upright{pixels(page.getMediaWidth()), pixels(page.getMediaHeight())};
    const bool isOnItsSide = page.getRotate() % 180 != 0;
    return isOnItsSide ? Size{upright.height, upright.width} : upright;
}

/// Poppler's words hold alpha, red, green and blue from the top; Leptonica's red, green, blue and alpha.
void copyColours(const unsigned char* from, l_uint32* to, int width) {
    std::memcpy(to, from, static_cast<std::size_t>(width) * sizeof *to);
    std::transform(to, to + width, to, [](l_uint32 argb) { return argb << 8 | 0xff; });
}

/// Leptonica's bytes stand in words whose first is the highest.
void copyGreys(const unsigned char* from, l_uint32* to, int width) {
    for (int x = 0; x < width; ++x)
        SET_DATA_BYTE(to, x, from[x]);
}

Picture pictureOf(const SplashBitmap& bitmap) {
    const bool isGrey = bitmap.getMode() == splashModeMono8;
    Picture picture(pixCreateNoInit(bitmap.getWidth(), bitmap.getHeight(), isGrey ? 8 : 32));
    if (!picture)
        return nullptr;
    for (int y = 0; y < bitmap.getHeight(); ++y) {
        const unsigned char* const from = bitmap.getDataPtr() + static_cast<std::ptrdiff_t>(y) * bitmap.getRowSize();
        l_uint32* const to = pixGetData(picture.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(picture.get());
        (isGrey ? copyGreys : copyColours)(from, to, bitmap.getWidth());
    }
    return picture;
}

/// Annotations are no part of the page itself.
bool drawsAnnotation(Annot*, void*) { return false; }

} // namespace

void warmUpPdfPictures() {
    static constexpr std::string_view page =
        "%PDF-1.1\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
        "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
        "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents 4 0 R/Resources<</Font<</F<</Type/Font/Subtype"
        "/Type1/BaseFont/Helvetica>>>>>>>>endobj\n"
        "4 0 obj<</Length 20>>stream\nBT /F 9 Tf (a) Tj ET\nendstream endobj\ntrailer<</Root 1 0 R>>\n%%EOF";
    (void)PdfDrawing(page).page(0, 72);
}

PdfDrawing::PdfDrawing(std::string_view bytes) {
    preparePoppler();
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return;
    document_ = std::make_unique<PDFDoc>(
        new MemStream(bytes.data(), 0, static_cast<Goffset>(bytes.size()), Object(objNull))); // which it takes
    if (!document_->isOk())
        document_.reset();
}

PdfDrawing::~PdfDrawing() = default;

bool PdfDrawing::hasPage(int index) const {
    return document_ && index < document_->getNumPages() && document_->getPage(index + 1) != nullptr;
}

Picture PdfDrawing::page(int index, double dpi) const {
    Page* const page = hasPage(index) ? document_->getPage(index + 1) : nullptr;
    const Size size = page != nullptr ? sizeInPixels(*page, dpi) : Size();
    if (size.width == 0 || size.height == 0)
        return nullptr;
    const bool isLarge = double{1} * size.width * size.height > mostColouredPixels;
    constexpr int rowAlignment = 4;
    SplashColor white{0xff, 0xff, 0xff, 0xff};
    SplashOutputDev output(isLarge ? splashModeMono8 : splashModeXBGR8, rowAlignment, false, white);
    output.setFontAntialias(true);
    output.setVectorAntialias(true);
    output.startDoc(document_.get());
    constexpr int turnedBy = 0; // beyond what the page says of itself
    constexpr bool useMediaBox = true;
    constexpr bool crop = false;
    constexpr bool forPrinting = false;
    page->displaySlice(&output, dpi, dpi, turnedBy, useMediaBox, crop, 0, 0, size.width, size.height, forPrinting,
                       nullptr, nullptr, drawsAnnotation, nullptr);
    const SplashBitmap* const bitmap = output.getBitmap();
    // Out of memory, Poppler draws one pixel and calls it the page.
    if (bitmap == nullptr || bitmap->getWidth() != size.width || bitmap->getHeight() != size.height)
        return nullptr;
    return pictureOf(*bitmap);
}

} // namespace vennic::worker
