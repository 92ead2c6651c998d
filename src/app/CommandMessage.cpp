#include "app/CommandMessage.h"

#include "base/Json.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace vennic {

QByteArray encodeCommandRequest(const CommandRequest& request) {
    QJsonObject object{{QStringLiteral("verb"), request.verb},
                       {QStringLiteral("arguments"), QJsonArray::fromStringList(request.arguments)}};
    if (!request.secret.isEmpty())
        object.insert(QStringLiteral("secret"), request.secret);
    if (request.local)
        object.insert(QStringLiteral("local"), true);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<CommandRequest> decodeCommandRequest(const QByteArray& line) {
    try {
        const QJsonObject object = parseJsonObject(line);
        CommandRequest request;
        request.verb = requiredString(object, QLatin1String("verb"));
        request.arguments = optionalStrings(object, QLatin1String("arguments")).value_or(QStringList{});
        request.secret = optionalString(object, QLatin1String("secret")).value_or(QString{});
        request.local = optionalBoolean(object, QLatin1String("local")).value_or(false);
        return request;
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

QByteArray encodeCommandAnswer(const CommandAnswer& answer) {
    const QJsonObject object{{QStringLiteral("status"), static_cast<int>(answer.status)},
                             {QStringLiteral("text"), answer.text},
                             {QStringLiteral("data"), answer.data},
                             {QStringLiteral("reason"), answer.reason}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<CommandAnswer> decodeCommandAnswer(const QByteArray& line) {
    try {
        const QJsonObject object = parseJsonObject(line);
        const qint64 status = requiredInteger(object, QLatin1String("status"));
        if (status < 0 || status > static_cast<int>(ExitStatus::noClient))
            return std::nullopt;
        return CommandAnswer{static_cast<ExitStatus>(status), requiredString(object, QLatin1String("text")),
                             requiredObject(object, QLatin1String("data")),
                             requiredString(object, QLatin1String("reason"))};
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace vennic
