#include "backend/ResponseBody.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace vennic {

std::optional<QString> utf8Text(const QByteArray& body) {
    if (!body.isValidUtf8())
        return std::nullopt;
    return QString::fromUtf8(body);
}

std::optional<QString> parsedErrorBody(const QByteArray& body) {
    if (body.isEmpty())
        return std::nullopt;
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    for (const auto key : {QLatin1String("message"), QLatin1String("error")})
        if (QString text = object.value(key).toString(); !text.isEmpty())
            return text;
    return utf8Text(body);
}

std::optional<QString> pairingErrorBody(const QByteArray& body) {
    const QJsonValue error = QJsonDocument::fromJson(body).object().value(QLatin1String("error"));
    if (error.isString())
        return error.toString();
    return utf8Text(body);
}

} // namespace vennic
