#include "app/LocalModelReport.h"

#include "backend/LocalCompletionReader.h"
#include "localllm/LocalDirectClient.h"

#include <QLocale>

namespace vennic {

namespace {

template <class T>
QJsonValue orNull(const std::optional<T>& value) {
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

} // namespace

Task<QJsonObject> localModelData(Client* client) {
    const AppSession& session = client->session();
    const bool enabled = session.localLLMEnabled();
    const QString endpoint = session.localLLMEndpoint();
    const QString model = session.localLLMModel();
    bool reachable = false;
    std::optional<QString> loaded;
    if (enabled)
        reachable = co_await LocalDirectClient::isReachable(&client->http(), endpoint, localServerPatience);
    if (reachable)
        loaded = co_await client->telemetry().currentLoadedModel();
    co_return QJsonObject{{QStringLiteral("enabled"), enabled},
                          {QStringLiteral("endpoint"), endpoint},
                          {QStringLiteral("model"), model},
                          {QStringLiteral("reachable"), reachable},
                          {QStringLiteral("loaded_model"), orNull(loaded)},
                          {QStringLiteral("tokens_per_second"), orNull(client->telemetry().tokPerSecEMA())}};
}

QString localModelSentence(const QJsonObject& data) {
    if (!data[QLatin1String("enabled")].toBool())
        return QStringLiteral("désactivé (« vennic model on » l'active)");
    const QString endpoint = data[QLatin1String("endpoint")].toString();
    if (!data[QLatin1String("reachable")].toBool())
        return QStringLiteral("aucune réponse de %1").arg(endpoint);
    const QString loaded = data[QLatin1String("loaded_model")].toString();
    QString sentence = loaded.isEmpty() ? QStringLiteral("serveur en marche, aucun modèle annoncé") : loaded;
    if (const QJsonValue speed = data[QLatin1String("tokens_per_second")]; speed.isDouble())
        sentence +=
            QStringLiteral(", %1 jetons par seconde").arg(QLocale(QLocale::French).toString(speed.toDouble(), 'f', 1));
    return sentence;
}

void setUpLocalModel(AppSession& session, const QStringList& words) {
    const QString& word = words[0];
    const QString value = words.value(1);
    if (word == QLatin1String("on") || word == QLatin1String("off")) {
        session.setLocalLLMEnabled(word == QLatin1String("on"));
    } else if (word == QLatin1String("endpoint")) {
        if (!localServerURL(value, QLatin1String("/models")))
            throw LocalizedError(
                QStringLiteral("« %1 » n'est pas une adresse comme http://localhost:8080/v1.").arg(value));
        session.setLocalLLMEndpoint(value);
    } else if (word == QLatin1String("name")) {
        session.setLocalLLMModel(value);
    }
}

} // namespace vennic
