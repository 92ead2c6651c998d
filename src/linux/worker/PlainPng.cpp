#include "linux/worker/PlainPng.h"

#include <QtEndian>

namespace vennic {
namespace {

// ISO/IEC 15948, 5.3: length, type, data, check sum.
constexpr qsizetype chunkFrame = 12;

/// What stands before the pixels, as far as an honest encoder writes it.
bool isHeader(const QByteArray& data, const wire::PictureSize& size) {
    constexpr qsizetype headerBytes = 13;
    if (data.size() != headerBytes)
        return false;
    const auto number = [&data](qsizetype at) { return qFromBigEndian<quint32>(data.constData() + at); };
    const char depth = data[8];
    const char colours = data[9];
    const bool isColourful = colours == 2 || colours == 6;
    return number(0) == size.width && number(4) == size.height && depth == 8 && isColourful &&
           data.last(3) == QByteArray(3, '\0'); // compression, filter, interlace
}

} // namespace

bool isPlainPng(const QByteArray& bytes, const wire::PictureSize& size) {
    const QByteArrayView signature("\x89PNG\r\n\x1a\n");
    if (!bytes.startsWith(signature))
        return false;
    bool hasPixels = false;
    qsizetype at = signature.size();
    for (bool isFirst = true; at + chunkFrame <= bytes.size(); isFirst = false) {
        const qint64 length = qFromBigEndian<quint32>(bytes.constData() + at);
        if (length > bytes.size() - at - chunkFrame)
            return false;
        const QByteArrayView type = QByteArrayView(bytes).sliced(at + 4, 4);
        if (isFirst != (type == "IHDR") || (isFirst && !isHeader(bytes.mid(at + 8, length), size)))
            return false;
        at += chunkFrame + length;
        if (type == "IEND")
            return hasPixels && length == 0 && at == bytes.size();
        hasPixels = hasPixels || type == "IDAT";
        if (!isFirst && type != "IDAT" && type != "bKGD")
            return false;
    }
    return false;
}

} // namespace vennic
