#include "app/screen/SymbolProvider.h"

#include <QColor>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace vennic {

namespace {
constexpr QSize usual{24, 24};
constexpr int largest = 512; // pixels
} // namespace

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const QString name = id.section(u'/', 0, 0);
    const QColor color(u'#' + id.section(u'/', 1));
    QFile file(QStringLiteral(":/Vennic/symbols/%1.svg").arg(name));
    if (!color.isValid() || !file.open(QIODevice::ReadOnly)) {
        qWarning("no such symbol: %s", qUtf8Printable(id));
        return {};
    }
    QByteArray drawing = file.readAll();
    drawing.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(drawing);
    QImage image((requestedSize.isEmpty() ? usual : requestedSize).boundedTo({largest, largest}),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter);
    painter.end();
    *size = image.size();
    return image.copy(); // a painted image keeps its engine, which is larger than the symbol
}

} // namespace vennic
