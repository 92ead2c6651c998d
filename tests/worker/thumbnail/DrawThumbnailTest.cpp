#include "worker/thumbnail/DrawThumbnail.h"

#include "worker/PdfMaker.h"
#include "worker/WorkerFolder.h"

#include <array>
#include <gtest/gtest.h>
#include <lcms2.h>

using namespace vennic::test;
using namespace vennic::worker;

namespace {

std::string stored(const std::string& name) {
    return fileBytes(dataFolder() + QStringLiteral("/pictures/") + QString::fromStdString(name)).toStdString();
}

struct Colour {
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = 255; // the others are multiplied by it
    bool isLike(const Colour& other) const {
        constexpr int tolerance = 12; // of lossy forms
        const auto near = [](int a, int b) { return std::abs(a - b) <= tolerance; };
        return near(red, other.red) && near(green, other.green) && near(blue, other.blue) && near(alpha, other.alpha);
    }
    friend std::ostream& operator<<(std::ostream& out, const Colour& c) {
        return out << c.red << ' ' << c.green << ' ' << c.blue << " / " << c.alpha;
    }
};
constexpr Colour red{255, 0, 0};
constexpr Colour lime{0, 255, 0};
constexpr Colour blue{0, 0, 255};
constexpr Colour white{255, 255, 255};
constexpr Colour nothing{0, 0, 0, 0};

Colour at(const Raster& picture, int x, int y) {
    const std::uint32_t pixel = picture.row(y)[static_cast<std::size_t>(x)];
    const auto byte = [pixel](unsigned shift) { return static_cast<int>(pixel >> shift & 0xffU); };
    return {byte(16), byte(8), byte(0), picture.isOpaque() ? 255 : byte(24)};
}

struct Corners {
    Colour topLeft = red;
    Colour topRight = lime;
    Colour bottomLeft = blue;
    Colour bottomRight = white;
};

void expectCorners(const Raster& picture, const std::string& what, const Corners& corners = {}) {
    ASSERT_TRUE(picture) << what;
    const int x = picture.width() / 6;
    const int y = picture.height() / 6;
    const auto expect = [&](int column, int row, const Colour& colour) {
        EXPECT_TRUE(at(picture, column, row).isLike(colour))
            << what << " at " << column << ", " << row << ": " << at(picture, column, row) << " and not " << colour;
    };
    expect(x, y, corners.topLeft);
    expect(picture.width() - 1 - x, y, corners.topRight);
    expect(x, picture.height() - 1 - y, corners.bottomLeft);
    expect(picture.width() - 1 - x, picture.height() - 1 - y, corners.bottomRight);
}

void expectSize(const Raster& picture, int width, int height) {
    ASSERT_TRUE(picture);
    EXPECT_EQ(std::pair(picture.width(), picture.height()), std::pair(width, height));
}

/// A JPEG with another segment (ITU-T T.81, B.1.1.4) right behind its first mark.
std::string withSegment(std::string jpeg, unsigned char mark, const std::string& content) {
    const std::size_t length = content.size() + 2;
    const std::string head{'\xff', static_cast<char>(mark), static_cast<char>(length >> 8U), static_cast<char>(length)};
    return jpeg.insert(2, head + content);
}

/// Exif 2.32: one tag in the first directory, its number of 16 bits.
std::string exifOrientation(int orientation) {
    return std::string("Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 24) + static_cast<char>(orientation) +
           std::string(7, '\0');
}

/// A profile of a device whose red is what sRGB calls green, and the other way round.
std::string exchangedProfile() {
    const cmsCIExyY d65{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.30, 0.60, 1}, {0.64, 0.33, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* const gamma = cmsBuildGamma(nullptr, 2.2);
    std::array<cmsToneCurve*, 3> curves{gamma, gamma, gamma};
    cmsHPROFILE profile = cmsCreateRGBProfile(&d65, &primaries, curves.data());
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(gamma);
    return bytes;
}

/// A profile of inks that calls every mixture of them the same blue.
std::string blueInksProfile() {
    cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.1);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigCmykData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, 4, 3);
    cmsStage* const table = cmsStageAllocCLut16bit(nullptr, 2, 4, 3, nullptr);
    const auto always = [](const cmsUInt16Number*, cmsUInt16Number* out, void*) -> cmsInt32Number {
        const cmsCIELab lab{29.57, 68.30, -112.03}; // the blue of sRGB
        cmsFloat2LabEncodedV2(out, &lab);
        return TRUE;
    };
    cmsStageSampleCLut16bit(table, always, nullptr, 0);
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    for (const cmsTagSignature tag : {cmsSigAToB0Tag, cmsSigAToB1Tag})
        cmsWriteTag(profile, tag, pipeline);
    cmsPipelineFree(pipeline);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}

std::string withProfile(const std::string& jpeg, const std::string& profile) {
    constexpr unsigned char app2 = 0xe2; // ICC.1, B.4: part 1 of 1
    return withSegment(jpeg, app2, std::string("ICC_PROFILE\0\x01\x01", 14) + profile);
}

std::string svg(const std::string& attributes, const std::string& content = "<rect width='9999' height='9999'/>") {
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' " + attributes + ">" +
           content + "</svg>";
}

} // namespace

TEST(DrawThumbnail, everyFormShowsWhatItHolds) {
    for (const char* name :
         {"corners.png",   "16-bit.png",   "palette.png",    "interlaced.png", "corners.jpg", "progressive.jpg",
          "cmyk.jpg",      "corners.gif",  "interlaced.gif", "animated.gif",   "corners.bmp", "os2.bmp",
          "corners.tif",   "16-bit.tif",   "cmyk.tif",       "big-endian.tif", "big.tif",     "corners.webp",
          "animated.webp", "corners.heic", "corners.avif"}) {
        const Raster picture = drawThumbnail(stored(name), 256);
        expectSize(picture, 64, 48);
        expectCorners(picture, name);
        EXPECT_TRUE(picture.isOpaque()) << name;
        expectCorners(drawThumbnail(stored(name), 32), name);
    }
}

TEST(DrawThumbnail, transparencyIsKept) {
    for (const char* name : {"alpha.png", "alpha.bmp", "alpha.tif", "alpha.webp", "alpha.heic"}) {
        for (const int edge : {256, 32}) {
            const Raster picture = drawThumbnail(stored(name), edge);
            expectCorners(picture, name, {.topRight = {0, 128, 0, 128}, .bottomRight = {128, 128, 128, 128}});
            EXPECT_FALSE(picture.isOpaque()) << name;
        }
    }
    expectCorners(drawThumbnail(stored("transparent.gif"), 64), "transparent.gif", {.topRight = nothing});
}

TEST(DrawThumbnail, aGrayPictureIsGray) {
    const Raster picture = drawThumbnail(stored("gray.jpg"), 64);
    ASSERT_TRUE(picture);
    const Colour colour = at(picture, 10, 8);
    EXPECT_TRUE(colour.red == colour.green && colour.green == colour.blue) << colour;
    EXPECT_TRUE(at(picture, 54, 40).isLike(white));
}

TEST(DrawThumbnail, theOrientationTagIsHonoured) {
    const std::string jpeg = stored("corners.jpg");
    constexpr unsigned char app1 = 0xe1;
    const std::array<Corners, 8> turned{{{red, lime, blue, white},
                                         {lime, red, white, blue},
                                         {white, blue, lime, red},
                                         {blue, white, red, lime},
                                         {red, blue, lime, white},
                                         {blue, red, white, lime},
                                         {white, lime, blue, red},
                                         {lime, white, red, blue}}};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const Raster picture = drawThumbnail(withSegment(jpeg, app1, exifOrientation(orientation)), 32);
        expectSize(picture, orientation < 5 ? 32 : 24, orientation < 5 ? 24 : 32);
        expectCorners(picture, std::to_string(orientation), turned[static_cast<std::size_t>(orientation - 1)]);
    }
    for (const int senseless : {0, 9, 255})
        expectCorners(drawThumbnail(withSegment(jpeg, app1, exifOrientation(senseless)), 64), "senseless");
    expectCorners(drawThumbnail(stored("turned.tif"), 64), "turned.tif", turned[5]);
}

TEST(DrawThumbnail, damagedTagsDoNotSpoilThePicture) {
    const std::string jpeg = stored("corners.jpg");
    const std::string exif = exifOrientation(6);
    for (std::size_t length = 0; length < 26; ++length)
        expectCorners(drawThumbnail(withSegment(jpeg, 0xe1, exif.substr(0, length)), 64), std::to_string(length));
    expectCorners(drawThumbnail(withProfile(jpeg, "no profile"), 64), "no profile");
    expectCorners(drawThumbnail(withProfile(jpeg, blueInksProfile()), 64), "a profile of inks");
}

TEST(DrawThumbnail, coloursAreConvertedFromTheProfile) {
    const Corners exchanged{.topLeft = lime, .topRight = red};
    expectCorners(drawThumbnail(withProfile(stored("corners.jpg"), exchangedProfile()), 64), "jpeg", exchanged);
    for (const char* name : {"exchanged.png", "exchanged.tif", "exchanged.webp", "exchanged.heic"})
        expectCorners(drawThumbnail(stored(name), 64), name, exchanged);
    const std::string inks = withProfile(stored("cmyk.jpg"), blueInksProfile());
    expectCorners(drawThumbnail(inks, 64), "inks", {blue, blue, blue, blue});
}

TEST(DrawThumbnail, aPictureIsShrunkToTheSquareAndNeverEnlarged) {
    const std::string picture = stored("corners.png");
    expectSize(drawThumbnail(picture, 256), 64, 48);
    expectSize(drawThumbnail(picture, 64), 64, 48);
    expectSize(drawThumbnail(picture, 63), 63, 47);
    expectSize(drawThumbnail(picture, 10), 10, 8);
    expectSize(drawThumbnail(picture, 1), 1, 1);
}

TEST(DrawThumbnail, aSideIsNeverLessThanOnePixel) {
    expectSize(drawThumbnail(svg("width='100000' height='1'"), 64), 64, 1);
    expectSize(drawThumbnail(svg("width='1' height='100000'"), 64), 1, 64);
}

TEST(DrawThumbnail, aDrawingFillsTheSquareInItsProportions) {
    expectSize(drawThumbnail(svg("width='16' height='8'"), 128), 128, 64);
    expectSize(drawThumbnail(svg("viewBox='0 0 30 60'"), 128), 64, 128);
    expectSize(drawThumbnail(svg("width='100%' height='100%' viewBox='0 0 4 1'"), 128), 128, 32);
    expectSize(drawThumbnail(svg(""), 128), 128, 128);
    expectSize(drawThumbnail(svg("width='2in' height='2.54cm'"), 128), 128, 64);
    const Raster picture = drawThumbnail(
        svg("viewBox='0 0 2 2'", "<rect width='1' height='1' fill='red'/><rect x='1' width='1' height='1' fill='lime'/>"
                                 "<rect y='1' width='1' height='1' fill='blue'/>"),
        64);
    expectCorners(picture, "drawing", {.bottomRight = nothing});
}

TEST(DrawThumbnail, aDrawingShowsWhatItHoldsButLoadsNothing) {
    const QByteArray png = fileBytes(dataFolder() + QStringLiteral("/pictures/corners.png"));
    const WorkerFolder folder;
    const std::string path = folder.add(QStringLiteral("other.png"), png).toStdString();
    const std::string held = "data:image/png;base64," + png.toBase64().toStdString();
    const auto showing = [](const std::string& address) {
        return drawThumbnail(svg("viewBox='0 0 64 48'", "<image width='64' height='48' xlink:href='" + address + "'/>"),
                             64);
    };
    expectCorners(showing(held), "held");
    for (const std::string& address : {path, "file://" + path, std::string("other.png"), "http://127.0.0.1/" + path})
        expectCorners(showing(address), address, {nothing, nothing, nothing, nothing});
    const std::string entity = "<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY x SYSTEM 'file://" +
                               folder.add(QStringLiteral("rect"), "<rect width='9' height='9'/>").toStdString() +
                               "'>]>" + svg("viewBox='0 0 9 9'", "&x;");
    const Raster drawn = drawThumbnail(entity, 16);
    if (drawn) // refusing the file is as good
        expectCorners(drawn, "entity", {nothing, nothing, nothing, nothing});
}

TEST(DrawThumbnail, theFirstPageOfAPdfIsDrawnOnWhitePaper) {
    const auto document = [](const char* name) {
        return fileBytes(dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name)).toStdString();
    };
    const Raster page = drawThumbnail(document("small.pdf"), 256);
    expectSize(page, 181, 256);
    EXPECT_TRUE(page.isOpaque());
    expectCorners(page, "page", {white, white, white, white});
    bool hasInk = false;
    for (int y = 0; y < page.height(); ++y)
        hasInk = hasInk || std::ranges::any_of(page.row(y), [](std::uint32_t p) { return (p & 0xffU) < 128; });
    EXPECT_TRUE(hasInk);
    expectSize(drawThumbnail(document("rotated.pdf"), 256), 256, 181);
    expectSize(drawThumbnail(document("huge-page.pdf"), 256), 256, 256);
    for (const char* name : {"locked.pdf", "garbage.pdf", "not-a.pdf", "truncated.pdf"})
        EXPECT_FALSE(drawThumbnail(document(name), 256)) << name;
}

TEST(DrawThumbnail, whatIsNoPictureHasNone) {
    EXPECT_FALSE(drawThumbnail("", 64));
    EXPECT_FALSE(drawThumbnail("Bonjour", 64));
    EXPECT_FALSE(drawThumbnail(stored("run-length.bmp"), 64)); // a form that the decoder doesn't know
    EXPECT_FALSE(drawThumbnail("\x1f\x8b\x08 no drawing", 64));
    EXPECT_FALSE(drawThumbnail("<svg", 64));
}
