#include "worker/PictureMaker.h"

#include "worker/ImageFile.h"
#include "worker/PdfFile.h"
#include "worker/PdfPagePicture.h"

#include <leptonica/allheaders.h>
#include <poppler-document.h>
#include <zlib.h>

namespace vennic::test {
namespace {

constexpr double dpi = 200;

QByteArray number(qint64 value) { return QByteArray::number(value); }

QByteArray drawnLines(const QStringList& lines) {
    QByteArray drawn = "BT /F1 14 Tf 20 TL 24 " + number(20 * (lines.size() + 1)) + " Td ";
    for (const QString& line : lines)
        drawn += "(" + line.toLatin1() + ") Tj T* ";
    return drawn + "ET";
}

QByteArray bigEndian(quint32 value) {
    return QByteArray(1, static_cast<char>(value >> 24)) + static_cast<char>(value >> 16) +
           static_cast<char>(value >> 8) + static_cast<char>(value);
}

QByteArray pngChunk(const QByteArray& body) {
    const auto* const data = reinterpret_cast<const Bytef*>(body.constData());
    return bigEndian(static_cast<quint32>(body.size() - 4)) + body +
           bigEndian(static_cast<quint32>(crc32(0, data, static_cast<uInt>(body.size()))));
}

/// The objects of one page of a picture, the first having number `first`.
QList<QByteArray> scannedPage(const QStringList& lines, int first) {
    const worker::Picture picture = pictureSaying(lines);
    const worker::Picture grey(pixConvertTo8(picture.get(), 0));
    const int width = pixGetWidth(grey.get());
    const int height = pixGetHeight(grey.get());
    QByteArray bytes;
    for (int y = 0; y < height; ++y) {
        const l_uint32* const line = pixGetData(grey.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(grey.get());
        for (int x = 0; x < width; ++x)
            bytes += static_cast<char>(GET_DATA_BYTE(line, x));
    }
    const QByteArray box = number(width * 72 / 200) + " " + number(height * 72 / 200);
    return {"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + box + "] /Resources << /XObject << /I " +
                number(first + 2) + " 0 R >> >> /Contents " + number(first + 1) + " 0 R >>",
            pdfStream("q " + number(width * 72 / 200) + " 0 0 " + number(height * 72 / 200) + " 0 0 cm /I Do Q"),
            pdfStream(qCompress(bytes).mid(4), "/Type /XObject /Subtype /Image /Width " + number(width) + " /Height " +
                                                   number(height) +
                                                   " /ColorSpace /DeviceGray /BitsPerComponent 8 "
                                                   "/Filter /FlateDecode ")};
}

QList<QByteArray> writtenPage(const QString& text, int first) {
    return {"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 80] /Resources << /Font << /F1 3 0 R >> >> /Contents " +
                number(first + 1) + " 0 R >>",
            pdfStream("BT /F1 12 Tf 24 40 Td (" + text.toLatin1() + ") Tj ET"), "null"};
}

} // namespace

worker::Picture pictureSaying(const QStringList& lines) {
    const QByteArray pdf =
        assemblePdf({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [4 0 R] /Count 1 >>",
                     "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
                     "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 260 " + number(20 * (lines.size() + 2)) +
                         "] /Resources << /Font << /F1 3 0 R >> >> /Contents 5 0 R >>",
                     pdfStream(drawnLines(lines))});
    return worker::PdfDrawing({pdf.constData(), static_cast<std::size_t>(pdf.size())}).page(0, dpi);
}

worker::Picture inkOnNothing(const QStringList& lines, Ink ink) {
    worker::Picture picture = pictureSaying(lines);
    for (int y = 0; y < pixGetHeight(picture.get()); ++y) {
        l_uint32* const line = pixGetData(picture.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(picture.get());
        for (int x = 0; x < pixGetWidth(picture.get()); ++x) {
            const l_uint32 darkness = 255 - (line[x] >> L_RED_SHIFT & 0xff);
            line[x] = (ink == Ink::white ? 0xffffff00 : 0) | darkness;
        }
    }
    pixSetSpp(picture.get(), 4);
    return picture;
}

QByteArray encoded(const worker::Picture& picture, ImageForm form) {
    worker::Picture flat;
    if (form == ImageForm::gif)
        flat.reset(pixConvertTo8(picture.get(), 0));
    const int format = form == ImageForm::png    ? IFF_PNG
                       : form == ImageForm::jpeg ? IFF_JFIF_JPEG
                       : form == ImageForm::tiff ? IFF_TIFF_LZW
                       : form == ImageForm::gif  ? IFF_GIF
                                                 : IFF_BMP;
    l_uint8* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(pixWriteMem(&data, &size, flat ? flat.get() : picture.get(), format), 0);
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    lept_free(data);
    return bytes;
}

QByteArray plainPng(quint32 width, quint32 height, int depth, int colourType) {
    const int samples = colourType == 2 ? 3 : 1;
    const QByteArray row =
        QByteArray(1, '\0') + QByteArray((static_cast<qsizetype>(width) * samples * depth + 7) / 8, '\xff');
    z_stream packer{};
    EXPECT_EQ(deflateInit(&packer, Z_BEST_SPEED), Z_OK);
    QByteArray packed;
    QByteArray room(1 << 16, '\0');
    for (quint32 y = 0; y <= height; ++y) {
        packer.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(row.constData()));
        packer.avail_in = y == height ? 0 : static_cast<uInt>(row.size());
        do {
            packer.next_out = reinterpret_cast<Bytef*>(room.data());
            packer.avail_out = static_cast<uInt>(room.size());
            deflate(&packer, y == height ? Z_FINISH : Z_NO_FLUSH);
            packed += room.left(room.size() - packer.avail_out);
        } while (packer.avail_out == 0);
    }
    deflateEnd(&packer);
    const QByteArray header = bigEndian(width) + bigEndian(height) + static_cast<char>(depth) +
                              static_cast<char>(colourType) + QByteArray(3, '\0');
    return QByteArray("\x89PNG\r\n\x1a\n") + pngChunk("IHDR" + header) + pngChunk("IDAT" + packed) + pngChunk("IEND");
}

QByteArray pdfOf(const QList<TextRecognizerWorld::Page>& pages) {
    QByteArray kids;
    QList<QByteArray> objects;
    for (const TextRecognizerWorld::Page& page : pages) {
        const int first = static_cast<int>(4 + objects.size());
        kids += number(first) + " 0 R ";
        objects += page.layer.isEmpty() ? scannedPage(page.scan, first) : writtenPage(page.layer, first);
    }
    return assemblePdf(QList<QByteArray>{"<< /Type /Catalog /Pages 2 0 R >>",
                                         "<< /Type /Pages /Kids [" + kids + "] /Count " + number(pages.size()) + " >>",
                                         "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"} +
                       objects);
}

QByteArray pdfClaimingPages(const QString& first, int claimed) {
    return assemblePdf(QList<QByteArray>{"<< /Type /Catalog /Pages 2 0 R >>",
                                         "<< /Type /Pages /Kids [4 0 R] /Count " + QByteArray::number(claimed) + " >>",
                                         "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"} +
                       writtenPage(first, 4) + QList<QByteArray>(claimed, "null"));
}

QByteArray pdfWithBombBetween(const QString& first, const QString& last, int megabytes) {
    const UnfoldingContents bomb = unfoldingContents(megabytes, 13);
    return assemblePdf(
        QList<QByteArray>{"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [4 0 R 7 0 R 10 0 R] /Count 3 >>",
                          "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"} +
        writtenPage(first, 4) +
        QList<QByteArray>{"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 80] /Contents " + bomb.references + " >>",
                          "null", "null"} +
        writtenPage(last, 10) + QList<QByteArray>{bomb.object});
}

} // namespace vennic::test
