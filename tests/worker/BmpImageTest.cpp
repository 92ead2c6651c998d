#include "worker/BmpImage.h"

#include <QByteArray>
#include <QList>
#include <QtEndian>

#include <gtest/gtest.h>
#include <leptonica/allheaders.h>

using namespace vennic;

namespace {

template <class Number>
QByteArray littleEndian(Number value) {
    QByteArray bytes(sizeof value, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

struct Bmp {
    quint32 headerBytes = 40;
    qint32 width = 2;
    qint32 height = 2;
    quint16 depth = 24;
    quint32 packing = 0;
    QByteArray afterHeader; // fields beyond the first 40 bytes, or the palette
    QByteArray pixels;

    QByteArray bytes() const {
        const QByteArray header =
            headerBytes == 12
                ? littleEndian(headerBytes) + littleEndian(static_cast<quint16>(width)) +
                      littleEndian(static_cast<quint16>(height)) + littleEndian<quint16>(1) + littleEndian(depth)
                : littleEndian(headerBytes) + littleEndian(width) + littleEndian(height) + littleEndian<quint16>(1) +
                      littleEndian(depth) + littleEndian(packing) + QByteArray(20, '\0');
        const QByteArray head = header + afterHeader;
        const auto pixelsAt = static_cast<quint32>(14 + head.size());
        return "BM" + littleEndian(static_cast<quint32>(pixelsAt + static_cast<quint32>(pixels.size()))) +
               littleEndian<quint32>(0) + littleEndian(pixelsAt) + head + pixels;
    }
};

/// The picture's pixels from the top, 0xRRGGBB each, or with the alpha in front where it has one; none for no picture.
QList<quint32> read(const QByteArray& bytes) {
    QList<quint32> pixels;
    const worker::Picture picture = worker::decodeBmp({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    for (int y = 0; picture && y < pixGetHeight(picture.get()); ++y) {
        for (int x = 0; x < pixGetWidth(picture.get()); ++x) {
            l_uint32 pixel = 0;
            pixGetPixel(picture.get(), x, y, &pixel);
            pixels.append(pixGetSpp(picture.get()) == 4 ? pixel >> 8 | pixel << 24 : pixel >> 8);
        }
    }
    return pixels;
}

QByteArray hex(const char* digits) { return QByteArray::fromHex(digits); }

constexpr quint32 red = 0xff0000, green = 0x00ff00, blue = 0x0000ff, white = 0xffffff;
const QList<quint32> fourColours{red, green, blue, white};
// Rows from the bottom, padded to four bytes: blue and white, then red and green.
const QByteArray rows24 = hex("ff0000 ffffff 0000"
                              "0000ff 00ff00 0000");
const QByteArray fourColourPalette = hex("0000ff00 00ff0000 ff000000 ffffff00");

} // namespace

TEST(BmpImage, rowsComeFromTheBottomOrWithANegativeHeightFromTheTop) {
    EXPECT_EQ(read(Bmp{.afterHeader = {}, .pixels = rows24}.bytes()), fourColours);
    EXPECT_EQ(read(Bmp{.height = -2, .afterHeader = {}, .pixels = rows24}.bytes()),
              (QList<quint32>{blue, white, red, green}));
}

TEST(BmpImage, everyLengthOfHeaderIsRead) {
    EXPECT_EQ(read(Bmp{.headerBytes = 12, .afterHeader = {}, .pixels = rows24}.bytes()), fourColours);
    for (const quint32 length : {52U, 56U, 64U, 108U, 124U}) {
        const QByteArray more(static_cast<qsizetype>(length) - 40, '\0');
        EXPECT_EQ(read(Bmp{.headerBytes = length, .afterHeader = more, .pixels = rows24}.bytes()), fourColours)
            << length;
    }
}

TEST(BmpImage, palettesOfEveryDepthAreRead) {
    EXPECT_EQ(read(Bmp{.depth = 8, .afterHeader = fourColourPalette, .pixels = hex("02030000 00010000")}.bytes()),
              fourColours);
    EXPECT_EQ(read(Bmp{.depth = 4, .afterHeader = fourColourPalette, .pixels = hex("23000000 01000000")}.bytes()),
              fourColours);
    EXPECT_EQ(read(Bmp{.depth = 2, .afterHeader = fourColourPalette, .pixels = hex("b0000000 10000000")}.bytes()),
              fourColours);
    EXPECT_EQ(
        read(Bmp{.depth = 1, .afterHeader = fourColourPalette.left(8), .pixels = hex("40000000 80000000")}.bytes()),
        (QList<quint32>{green, red, red, green}));
    EXPECT_EQ(read(Bmp{.headerBytes = 12,
                       .depth = 8,
                       .afterHeader = hex("0000ff 00ff00 ff0000 ffffff"),
                       .pixels = hex("02030000 00010000")}
                       .bytes()),
              fourColours);
}

TEST(BmpImage, aColourThatThePaletteLacksIsBlack) {
    EXPECT_EQ(read(Bmp{.width = 1, .height = 1, .depth = 8, .afterHeader = fourColourPalette, .pixels = hex("09000000")}
                       .bytes()),
              QList<quint32>{0});
}

TEST(BmpImage, pixelsOf16And32BitsAreRead) {
    EXPECT_EQ(read(Bmp{.depth = 16, .afterHeader = {}, .pixels = hex("1f00ff7f 007ce003")}.bytes()), fourColours);
    EXPECT_EQ(read(Bmp{.depth = 32, .afterHeader = {}, .pixels = hex("ff000000ffffff00 0000ff0000ff0000")}.bytes()),
              fourColours);
}

TEST(BmpImage, bitFieldsSayWhereTheChannelsAre) {
    const QByteArray fields565 = hex("00f80000 e0070000 1f000000");
    EXPECT_EQ(
        read(Bmp{.depth = 16, .packing = 3, .afterHeader = fields565, .pixels = hex("1f00ffff 00f8e007")}.bytes()),
        fourColours);
    const QByteArray turned = hex("ff000000 00ff0000 0000ff00"); // red lowest
    EXPECT_EQ(
        read(Bmp{.depth = 32, .packing = 3, .afterHeader = turned, .pixels = hex("0000ff00ffffff00 ff00000000ff0000")}
                 .bytes()),
        fourColours);
}

TEST(BmpImage, anAlphaChannelCountsWhereItIsUsed) {
    const QByteArray fields = hex("0000ff00 00ff0000 ff000000 000000ff");
    const auto with = [&](const char* pixels) {
        return read(Bmp{.headerBytes = 56,
                        .width = 2,
                        .height = 1,
                        .depth = 32,
                        .packing = 3,
                        .afterHeader = fields,
                        .pixels = hex(pixels)}
                        .bytes());
    };
    EXPECT_EQ(with("0000ff80 00ff0000"), (QList<quint32>{0x80ff0000, 0x0000ff00}));
    EXPECT_EQ(with("0000ff00 00ff0000"), (QList<quint32>{red, green}));
}

TEST(BmpImage, runsOfBytesAreUnpacked) {
    const auto with = [](const char* runs) {
        return read(
            Bmp{.width = 4, .depth = 8, .packing = 1, .afterHeader = fourColourPalette, .pixels = hex(runs)}.bytes());
    };
    // A run, an end of line, then three pixels as they are, padded to an even number of bytes.
    EXPECT_EQ(with("0402 0000 0003000103000100 0001"),
              (QList<quint32>{red, green, white, red, blue, blue, blue, blue}));
    // A jump by two pixels and a line leaves the first colour.
    EXPECT_EQ(with("0103 00020201 0101 0001"), (QList<quint32>{red, red, red, green, white, red, red, red}));
    // What lies beyond the edges falls away, and what ends early keeps the first colour.
    EXPECT_EQ(with("ff03 0000 ff02 0000 ff01"), (QList<quint32>{blue, blue, blue, blue, white, white, white, white}));
    EXPECT_EQ(with("0003"), QList<quint32>(8, red));
    EXPECT_EQ(with(""), QList<quint32>(8, red));
}

TEST(BmpImage, runsOfHalfBytesAreUnpacked) {
    EXPECT_EQ(read(Bmp{.width = 5,
                       .height = 1,
                       .depth = 4,
                       .packing = 2,
                       .afterHeader = fourColourPalette,
                       .pixels = hex("0312 0003 3100 0001")}
                       .bytes()),
              (QList<quint32>{green, blue, green, white, green}));
}

TEST(BmpImage, whatIsNotPossibleIsNoPicture) {
    const auto picture = [](auto change) {
        Bmp bmp{.afterHeader = {}, .pixels = QByteArray(64, '\xff')};
        change(bmp);
        return read(bmp.bytes());
    };
    EXPECT_FALSE(picture([](Bmp&) {}).isEmpty());
    for (const qint32 size : {0, -1, 32768, 2147483647, -2147483647 - 1})
        EXPECT_TRUE(picture([&](Bmp& bmp) { bmp.width = size; }).isEmpty()) << size;
    for (const qint32 size : {0, 32768, 2147483647, -2147483647 - 1})
        EXPECT_TRUE(picture([&](Bmp& bmp) { bmp.height = size; }).isEmpty()) << size;
    for (const quint16 depth : {0, 3, 12, 48, 64, 65535})
        EXPECT_TRUE(picture([&](Bmp& bmp) { bmp.depth = depth; }).isEmpty()) << depth;
    for (const quint32 packing : {1U, 2U, 3U, 4U, 5U, 77U})
        EXPECT_TRUE(picture([&](Bmp& bmp) { bmp.packing = packing; }).isEmpty()) << packing;
    for (const quint32 length : {0U, 11U, 16U, 39U, 4000000000U})
        EXPECT_TRUE(picture([&](Bmp& bmp) { bmp.headerBytes = length; }).isEmpty()) << length;
}

TEST(BmpImage, everyBeginningOfAFileIsAPictureOnlyWhereAllItsRowsAreThere) {
    const QByteArray whole = Bmp{.afterHeader = {}, .pixels = rows24}.bytes();
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_TRUE(read(whole.left(length)).isEmpty()) << length;
}
