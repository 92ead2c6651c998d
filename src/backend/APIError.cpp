#include "backend/APIError.h"

#include "base/Localized.h"

namespace vennic {

APIError::APIError(Case kind, const QString& description, qint64 status, std::optional<QString> message)
    : LocalizedError(description), kind_(kind), status_(status), message_(std::move(message)) {}

APIError APIError::http(qint64 status, std::optional<QString> message) {
    QString description = localized("Erreur HTTP %lld").replace(QLatin1String("%lld"), QString::number(status));
    if (message && !message->isEmpty())
        description += QStringLiteral(" : ") + *message;
    return {Case::http, description, status, std::move(message)};
}

APIError APIError::notAuthenticated() {
    return {Case::notAuthenticated, localized("Pas connecté. Configure ton jeton dans Réglages."), 0, std::nullopt};
}

APIError APIError::decoding() { return {Case::decoding, localized("Réponse illisible du serveur"), 0, std::nullopt}; }

} // namespace vennic
