#include "server/JsonText.h"

#include "server/HttpError.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace vennic::server {

namespace {
constexpr int deepestNesting = 64;

bool isTooDeep(std::string_view text) {
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '{' || c == '[') {
            if (++depth > deepestNesting)
                return true;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}
} // namespace

QJsonObject jsonObject(std::string_view body) {
    if (isTooDeep(body))
        throw HttpError(400, QStringLiteral("Le corps JSON est imbriqué trop profondément."));
    QJsonParseError error;
    const auto document =
        QJsonDocument::fromJson(QByteArray::fromRawData(body.data(), static_cast<qsizetype>(body.size())), &error);
    if (error.error != QJsonParseError::NoError)
        throw HttpError(400, QStringLiteral("Le corps n'est pas du JSON valide."));
    if (!document.isObject())
        throw HttpError(400, QStringLiteral("Le corps doit être un objet JSON."));
    return document.object();
}

QByteArray jsonText(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

QByteArray jsonLiteral(const QString& text) {
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

} // namespace vennic::server
