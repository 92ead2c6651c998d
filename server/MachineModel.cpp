#include "server/MachineModel.h"

#include "base/Json.h"
#include "server/JsonText.h"
#include "server/MarkdownText.h"

namespace vennic::server {

namespace {
QByteArray bodyOf(const ModelRequest& request) {
    // A name without a slash would be replaced by the machine's own choice anyway.
    QJsonObject body{{QStringLiteral("model"), request.model.isEmpty() ? QStringLiteral("local") : request.model},
                     {QStringLiteral("messages"), request.messages}};
    if (!request.tools.isEmpty())
        body.insert(QStringLiteral("tools"), request.tools);
    return jsonText(body);
}

/// Raises ModelError.
ModelRound roundOf(const QJsonObject& result) {
    QJsonObject response;
    try {
        response = parseJsonObject(result.value(QLatin1String("response_json")).toString().toUtf8());
    } catch (const DecodingError&) {
        throw ModelError(QStringLiteral("La réponse du modèle du Mac n'est pas lisible."));
    }
    const QJsonValue message = response.value(QLatin1String("choices"))[0][QLatin1String("message")];
    if (!message.isObject())
        throw ModelError(QStringLiteral("La réponse du modèle du Mac n'est pas lisible."));
    ModelRound round{message[QLatin1String("content")].toString(), {}};
    if (round.text.size() > longestModelText)
        throw ModelError(QStringLiteral("La réponse du modèle est trop longue."));
    const QJsonArray calls = message[QLatin1String("tool_calls")].toArray();
    for (const QJsonValue call : calls) {
        const QJsonValue function = call[QLatin1String("function")];
        const ToolCall made{call[QLatin1String("id")].toString(), function[QLatin1String("name")].toString(),
                            function[QLatin1String("arguments")].toString()};
        if (round.calls.size() < mostToolCalls && made.arguments.size() <= longestToolArguments)
            round.calls.append(made);
    }
    return round;
}

ModelError errorOf(const QString& words) {
    // The machine's relay tells so when its model's server didn't take the request.
    const bool refused = words.startsWith(QLatin1String("Serveur local HTTP 400")) ||
                         words.startsWith(QLatin1String("Serveur local HTTP 422"));
    return ModelError(QStringLiteral("Le modèle du Mac n'a pas répondu : %1").arg(briefForeign(words)), refused);
}
} // namespace

std::shared_ptr<void> MachineModel::infer(const ModelRequest& request, RoundListener listener) {
    const auto heard = std::make_shared<const RoundListener>(std::move(listener));
    const auto streamed = std::make_shared<QString>();
    return tasks_.ask(
        request.account, QStringLiteral("llm_infer"),
        {{QStringLiteral("openai_body_json"), QString::fromUtf8(bodyOf(request))}},
        [heard, streamed](const TaskOutcome& outcome) {
            if (!outcome.result)
                return heard->failed(errorOf(outcome.error));
            ModelRound round;
            try {
                round = roundOf(*outcome.result);
            } catch (const ModelError& error) {
                return heard->failed(error);
            }
            // A piece that was lost on the way comes with the end.
            if (round.text.size() > streamed->size() && round.text.startsWith(*streamed))
                heard->said(round.text.mid(streamed->size()));
            heard->done(round);
        },
        [heard, streamed](const QString& delta) {
            *streamed += delta;
            heard->said(delta);
        });
}

} // namespace vennic::server
