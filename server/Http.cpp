#include "server/Http.h"

#include "server/HttpError.h"
#include "server/JsonText.h"

namespace vennic::server {

QByteArray RequestHead::field(const char* name) const {
    for (const auto& [key, value] : fields) {
        if (key == name)
            return value;
    }
    return {};
}

qint64 RequestHead::number(const char* name, qint64 otherwise) const {
    for (const QByteArray& part : query.split('&')) {
        if (!part.startsWith(name) || part.size() <= qsizetype(qstrlen(name)) ||
            part.at(qsizetype(qstrlen(name))) != '=')
            continue;
        bool ok = false;
        const qint64 value = part.mid(qsizetype(qstrlen(name)) + 1).toLongLong(&ok);
        return ok ? value : otherwise;
    }
    return otherwise;
}

Response jsonResponse(int status, QByteArray body) {
    Response response;
    response.status = status;
    response.contentType = "application/json";
    response.body = std::move(body);
    response.fields.emplaceBack("Cache-Control", "no-store");
    return response;
}

Response emptyResponse(int status) {
    Response response;
    response.status = status;
    return response;
}

Response errorResponse(const std::exception& error) {
    const auto* refusal = dynamic_cast<const HttpError*>(&error);
    const QString sentence =
        refusal ? refusal->errorDescription() : QStringLiteral("Le serveur a rencontré une erreur interne.");
    Response response = jsonResponse(refusal ? refusal->status : 500, "{\"error\":" + jsonLiteral(sentence) + "}");
    if (refusal && !refusal->allow.isEmpty())
        response.fields.emplaceBack("Allow", refusal->allow);
    if (refusal && refusal->retryAfterSeconds > 0)
        response.fields.emplaceBack("Retry-After", QByteArray::number(refusal->retryAfterSeconds));
    return response;
}

} // namespace vennic::server
