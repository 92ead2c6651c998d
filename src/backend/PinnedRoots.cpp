#include "backend/PinnedRoots.h"

#include <QFile>
#include <QRegularExpression>

namespace vennic {

namespace {

constexpr qint64 maxFileBytes = 1024LL * 1024;

/// Base64 with its padding and nothing else in it.
std::optional<QByteArray> decodedStrictly(const QByteArray& base64) {
    if (base64.size() % 4 != 0)
        return std::nullopt;
    auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return *decoded;
}

} // namespace

std::vector<QByteArray> certificateDERs(const QString& pem) {
    std::vector<QByteArray> ders;
    QByteArray block;
    bool inside = false;
    static const QRegularExpression newline(QStringLiteral("[\r\n]"));
    for (const QStringView line : QStringView{pem}.split(newline, Qt::SkipEmptyParts)) {
        if (line.startsWith(u"-----BEGIN CERTIFICATE-----")) {
            block.clear();
            inside = true;
        } else if (line.startsWith(u"-----END CERTIFICATE-----")) {
            if (auto der = decodedStrictly(block))
                ders.push_back(std::move(*der));
            block.clear();
            inside = false;
        } else if (inside) {
            block += line.toUtf8();
        }
    }
    return ders;
}

std::shared_ptr<const TrustAnchors> loadPinnedRoots(const QString& path) {
    auto anchors = std::make_shared<TrustAnchors>();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return anchors;
    const QByteArray bytes = file.read(maxFileBytes + 1);
    if (bytes.size() <= maxFileBytes && bytes.isValidUtf8())
        anchors->ders = certificateDERs(QString::fromUtf8(bytes));
    return anchors;
}

} // namespace vennic
