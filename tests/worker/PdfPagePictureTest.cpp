#include "worker/PdfPagePicture.h"

#include "base/DocumentWire.h"

#include <QByteArray>

#include <gtest/gtest.h>
#include <leptonica/allheaders.h>

namespace vennic::worker {
namespace {

struct Size {
    int width = 0;
    int height = 0;
    bool operator==(const Size&) const = default;
};

/// The pixels of the one page that says `more` of itself, as it is drawn for recognition; nothing when it isn't.
Size drawn(const QByteArray& more) {
    const QByteArray bytes = "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                             "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
                             "3 0 obj<</Type/Page/Parent 2 0 R" +
                             more + ">>endobj\ntrailer<</Root 1 0 R>>\n%%EOF";
    const PdfDrawing drawing({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    const Picture picture = drawing.page(0, wire::recognitionDpi);
    return picture ? Size{pixGetWidth(picture.get()), pixGetHeight(picture.get())} : Size();
}

TEST(PdfPagePicture, aPageHasTwoHundredPixelsForEachInchCutToWholeOnes) {
    EXPECT_EQ(drawn("/MediaBox[0 0 72 36]"), (Size{200, 100}));
    EXPECT_EQ(drawn("/MediaBox[0 0 595 842]"), (Size{1652, 2338})); // 1652.8 by 2338.9
    EXPECT_EQ(drawn("/MediaBox[10 20 82 56]"), (Size{200, 100}));
}

TEST(PdfPagePicture, aTurnedPageIsDrawnAsItIsShown) {
    EXPECT_EQ(drawn("/MediaBox[0 0 72 36]/Rotate 90"), (Size{100, 200}));
    EXPECT_EQ(drawn("/MediaBox[0 0 72 36]/Rotate 180"), (Size{200, 100}));
}

TEST(PdfPagePicture, theCropBoxDoesNotMatter) {
    EXPECT_EQ(drawn("/MediaBox[0 0 72 36]/CropBox[10 10 20 20]"), (Size{200, 100}));
}

TEST(PdfPagePicture, aPageWithoutASizeIsNotDrawn) { EXPECT_EQ(drawn("/MediaBox[5 5 5 5]"), Size()); }

} // namespace
} // namespace vennic::worker
