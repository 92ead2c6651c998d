#include "backend/LocalTurn.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace vennic {

QByteArray LocalTurn::encode() const {
    QJsonObject body{{QStringLiteral("text"), prompt},
                     {QStringLiteral("response_text"), responseText},
                     {QStringLiteral("model"), model},
                     {QStringLiteral("channel"), QStringLiteral("desktop")},
                     {QStringLiteral("language"), QStringLiteral("fr-FR")}};
    if (discussionId)
        body.insert(QStringLiteral("discussion_id"), *discussionId);
    if (ref)
        body.insert(QStringLiteral("ref"), *ref);
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace vennic
