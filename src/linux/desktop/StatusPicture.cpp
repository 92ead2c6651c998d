#include "linux/desktop/StatusPicture.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>

namespace vennic {

namespace {

constexpr int largestSide = 512;
constexpr int highlightAlpha = 80;

QImage drawn(const StatusImage& image, int side) {
    QByteArray svg = image.svg;
    QBuffer buffer(&svg);
    QImageReader reader(&buffer, "svg");
    reader.setScaledSize(QSize(side, side));
    QImage picture = reader.read();
    return picture.isNull() ? picture : picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

QImage statusPicture(const StatusImage& image, int side, const QColor& ink, bool highlighted) {
    QImage picture = drawn(image, std::clamp(side, 1, largestSide));
    if (picture.isNull())
        return picture;
    if (image.isTemplate) {
        QPainter painter(&picture);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), ink);
    }
    if (highlighted) {
        QColor field = ink;
        field.setAlpha(highlightAlpha);
        QPainter painter(&picture);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(field);
        painter.drawRoundedRect(picture.rect(), side / 5.0, side / 5.0);
    }
    return picture;
}

QColor inkOn(const QColor& background) {
    // Perceived lightness by the weights of ITU-R BT.709.
    const double lightness = (0.2126 * background.red()) + (0.7152 * background.green()) + (0.0722 * background.blue());
    return lightness > 128 ? QColor(0x2e, 0x2e, 0x2e) : QColor(0xf2, 0xf2, 0xf2);
}

} // namespace vennic
