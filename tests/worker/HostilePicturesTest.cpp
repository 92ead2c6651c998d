#include "linux/worker/TextRecognizerWorker.h"
#include "linux/worker/WorkerLane.h"
#include "worker/PictureMaker.h"
#include "worker/WorkerFolder.h"

#include <QtEndian>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

/// Each file ends in a text or a fault within its time and memory, and a good one after it is read.
class HostilePictures : public ::testing::Test {
protected:
    WorkerFolder folder_;
    TextRecognizerWorker recognizer_{std::make_shared<WorkerLane>(
        DocumentWorkerOptions{.executable = pictureWorkerProgram(), .mostCpu = 2s, .life = wire::pictureLife})};
    const QByteArray good_ = encoded(pictureSaying({QStringLiteral("Bonjour")}), ImageForm::png);

    std::optional<DocumentFault> imageFault(const QByteArray& bytes) {
        const QString path = folder_.add(QStringLiteral("image"), bytes);
        return faultOf([&] { recognizer_.image(path, {}); });
    }
    void expectGoodOneIsRead() {
        const QString path = folder_.add(QStringLiteral("good"), good_);
        EXPECT_EQ(recognizer_.image(path, {}).text, QStringLiteral("Bonjour"));
    }
    void expectFault(const QByteArray& bytes) {
        EXPECT_TRUE(imageFault(bytes).has_value());
        expectGoodOneIsRead();
    }
    /// Tells nothing but that the process could be asked on, whatever came of the bytes.
    void expectNoHarm(const QByteArray& bytes) { imageFault(bytes); }

    static QByteArray file(const char* name) {
        return fileBytes(dataFolder() + QStringLiteral("/recognition/") + QString::fromLatin1(name));
    }
    QList<QByteArray> everyForm() const {
        const worker::Picture picture = pictureSaying({QStringLiteral("Bonjour")});
        QList<QByteArray> images{file("note.heic"), file("grid.heic")};
        for (const ImageForm form : {ImageForm::png, ImageForm::jpeg, ImageForm::tiff, ImageForm::gif, ImageForm::bmp})
            images.append(encoded(picture, form));
        return images;
    }
};

template <class Number>
QByteArray littleEndian(Number value) {
    QByteArray bytes(sizeof value, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

/// One strip of a byte, with the entries given as tag, type, count and value.
QByteArray tiff(const QList<std::array<quint32, 4>>& entries) {
    QByteArray bytes =
        QByteArray("II*\0", 4) + littleEndian<quint32>(8) + littleEndian(static_cast<quint16>(entries.size()));
    for (const auto& [tag, type, count, value] : entries)
        bytes += littleEndian(static_cast<quint16>(tag)) + littleEndian(static_cast<quint16>(type)) +
                 littleEndian(count) + littleEndian(value);
    return bytes + littleEndian<quint32>(0) + QByteArray(64, '\xff');
}

QByteArray gifOfCanvas(quint16 width, quint16 height) {
    return "GIF89a" + littleEndian(width) + littleEndian(height) + QByteArray("\x80\0\0", 3) +
           QByteArray("\0\0\0\xff\xff\xff", 6) + "," + littleEndian<quint32>(0) + littleEndian(width) +
           littleEndian(height) + QByteArray("\0\x02\x02\x4c\x01\0;", 7);
}

QByteArray bmpOfSize(qint32 width, qint32 height, quint16 depth) {
    return "BM" + littleEndian<quint32>(154) + littleEndian<quint32>(0) + littleEndian<quint32>(54) +
           littleEndian<quint32>(40) + littleEndian(width) + littleEndian(height) + littleEndian<quint16>(1) +
           littleEndian(depth) + QByteArray(24, '\0') + QByteArray(100, '\xff');
}

/// The bytes with `other` in place of what stands `at`.
QByteArray patched(QByteArray bytes, qsizetype at, const QByteArray& other) {
    return bytes.replace(at, other.size(), other);
}

} // namespace

TEST_F(HostilePictures, everyFormCutShortAtManyPlacesDoesNoHarm) {
    for (const QByteArray& image : everyForm()) {
        for (int part = 0; part < 24; ++part)
            expectNoHarm(image.left(image.size() * part / 24));
        expectGoodOneIsRead();
    }
}

TEST_F(HostilePictures, everyFormWithFlippedBytesDoesNoHarm) {
    for (const QByteArray& image : everyForm()) {
        // The headers lie in front.
        for (qsizetype at = 0; at < 64 && at < image.size(); at += 3)
            expectNoHarm(patched(image, at, QByteArray(1, static_cast<char>(~image[at]))));
        for (qsizetype at = 64; at < image.size(); at += 1 + image.size() / 24)
            expectNoHarm(patched(image, at, QByteArray(2, '\xff')));
        expectGoodOneIsRead();
    }
}

TEST_F(HostilePictures, aPngThatLiesAboutItsSizeIsAFault) {
    const QByteArray png = plainPng(20, 20, 8, 0);
    for (const quint32 size : {0U, 0x7fffffffU, 0xffffffffU}) {
        QByteArray edge(4, '\0');
        qToBigEndian(size, edge.data());
        expectFault(patched(png, 16, edge + edge));
    }
}

TEST_F(HostilePictures, aPngThatUnfoldsBeyondTheBoxIsAFault) {
    expectFault(plainPng(14000, 14000, 8, 2)); // 590 MB, and a third more as a picture
}

TEST_F(HostilePictures, aPictureThatIsWiderThanTheRecogniserGoesIsAFault) {
    expectFault(plainPng(33000, 40, 8, 0));
    expectFault(plainPng(40, 33000, 1, 0));
}

TEST_F(HostilePictures, aGifOfAHugeCanvasIsAFault) { expectFault(gifOfCanvas(65535, 65535)); }

TEST_F(HostilePictures, aBmpThatLiesAboutItsSizeIsAFault) {
    for (const quint16 depth : {1, 8, 24, 32}) {
        expectFault(bmpOfSize(2147483647, 2147483647, depth));
        expectFault(bmpOfSize(-2147483647 - 1, -2147483647 - 1, depth));
        expectFault(bmpOfSize(100000, 100000, depth));
        expectFault(bmpOfSize(0, 0, depth));
    }
}

TEST_F(HostilePictures, aTiffOfAbsurdTagsIsAFault) {
    constexpr quint32 width = 256, height = 257, bits = 258, compression = 259, photometric = 262, strips = 273,
                      samples = 277, rows = 278, counts = 279, tileWidth = 322, tileHeight = 323, tiles = 324;
    constexpr quint32 shortType = 3, longType = 4;
    const auto basic = [&](quint32 w, quint32 h, quint32 depth, quint32 packing) {
        return QList<std::array<quint32, 4>>{{width, longType, 1, w},        {height, longType, 1, h},
                                             {bits, shortType, 1, depth},    {compression, shortType, 1, packing},
                                             {photometric, shortType, 1, 1}, {strips, longType, 1, 200},
                                             {samples, shortType, 1, 1},     {rows, longType, 1, h},
                                             {counts, longType, 1, 1}};
    };
    for (const quint32 packing : {1U, 2U, 4U, 5U, 7U, 8U, 32773U, 34712U, 65535U}) {
        expectFault(tiff(basic(0xffffffff, 0xffffffff, 8, packing)));
        expectFault(tiff(basic(60000, 60000, 8, packing)));
        expectFault(tiff(basic(0, 0, 8, packing)));
    }
    expectFault(tiff(basic(10, 10, 65535, 1)));
    expectFault(tiff({{width, longType, 0xffffffff, 0xffffffff}, {height, longType, 0xffffffff, 8}}));
    expectFault(tiff({{width, longType, 1, 65536},
                      {height, longType, 1, 65536},
                      {bits, shortType, 1, 8},
                      {photometric, shortType, 1, 1},
                      {tileWidth, longType, 1, 0x40000000},
                      {tileHeight, longType, 1, 0x40000000},
                      {tiles, longType, 0x20000000, 8}}));
}

TEST_F(HostilePictures, aHeicGridThatLiesAboutItsTilesIsAFault) {
    const QByteArray grid = file("grid.heic");
    const qsizetype layout = grid.indexOf("idat") + 4;
    ASSERT_GT(layout, 4);
    // Rows and columns less one, then the size of the whole in pixels.
    expectFault(patched(grid, layout + 2, QByteArray("\xff\xff", 2)));
    expectFault(patched(grid, layout + 2, QByteArray("\x01\x00\xff\xff\xff\xff", 6)));
    expectFault(patched(grid, layout + 2, QByteArray("\xff\xff\xff\xff\xff\xff", 6)));
    expectFault(patched(grid, layout + 2, QByteArray("\x01\x00\x00\x00\x00\x00", 6)));
}

TEST_F(HostilePictures, aHeicGridOfItselfIsAFault) {
    QByteArray grid = file("grid.heic");
    // The reference from the grid (1) to its two tiles (2, 2).
    const qsizetype reference = grid.indexOf("dimg") + 4;
    expectFault(patched(grid, reference + 4, QByteArray("\0\1\0\1", 4)));
}

TEST_F(HostilePictures, aPageOfHugeSizeIsAFaultAndTheNextPageIsRead) {
    for (const char* edge : {"5761", "14400", "1000000", "99999999999", "0", "-100"}) {
        const QByteArray box = QByteArray("[0 0 ") + edge + " " + edge + "]";
        QByteArray pdf = pdfOf({{QString(), {QStringLiteral("grand")}}, {QStringLiteral("suite"), {}}});
        const qsizetype at = pdf.indexOf("/MediaBox [");
        pdf.replace(at, pdf.indexOf(']', at) + 1 - at, "/MediaBox " + box);
        const auto pages = recognizer_.openPdf(folder_.add(QStringLiteral("pdf"), pdf), {});
        // A page of 5760 points is 256 million pixels; one without a size may be taken for a sheet of letter paper.
        std::optional<RecognizedText> read;
        faultOf([&] { read = pages->recognize(0); });
        EXPECT_TRUE(!read || read->text.size() < 20) << edge;
        EXPECT_EQ(pages->text(1), QStringLiteral("suite")) << edge;
    }
}

TEST_F(HostilePictures, aPdfCutShortAtManyPlacesDoesNoHarm) {
    const QByteArray pdf = pdfOf({{QString(), {QStringLiteral("Bonjour")}}});
    for (int part = 0; part < 40; ++part) {
        const QString path = folder_.add(QStringLiteral("pdf"), pdf.left(pdf.size() * part / 40));
        faultOf([&] {
            const auto pages = recognizer_.openPdf(path, {});
            pages->text(0);
            pages->recognize(0);
        });
    }
    expectGoodOneIsRead();
}

TEST_F(HostilePictures, aPageWhoseImageLiesAboutItsSizeDoesNoHarm) {
    const QByteArray pdf = pdfOf({{QString(), {QStringLiteral("Bonjour")}}});
    for (const char* edge :
         {"/Width 99999 /Height 99999", "/Width 2147483647 /Height 2147483647", "/Width 0 /Height 0"}) {
        QByteArray lying = pdf;
        const qsizetype at = lying.indexOf("/Width ");
        lying.replace(at, lying.indexOf("/ColorSpace") - at, QByteArray(edge) + " ");
        const auto pages = recognizer_.openPdf(folder_.add(QStringLiteral("pdf"), lying), {});
        faultOf([&] { pages->recognize(0); });
        expectGoodOneIsRead();
    }
}
