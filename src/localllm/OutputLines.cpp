#include "localllm/OutputLines.h"

#include "base/Utf8.h"

#include <string_view>

namespace vennic {

QStringList outputLines(const QByteArray& piece) {
    if (!isUtf8(std::string_view(piece.constData(), static_cast<std::size_t>(piece.size()))))
        return {};
    return QString::fromUtf8(piece).split(u'\n', Qt::SkipEmptyParts);
}

QString settledLine(const QString& line) {
    const QStringList written = line.split(u'\r', Qt::SkipEmptyParts);
    return written.isEmpty() ? QString() : written.last();
}

} // namespace vennic
