#include "Bridge/LocalLLMHandler.h"

#include "Bridge/AssembledCompletion.h"
#include "Bridge/RelayedDeltas.h"
#include "Bridge/TaskAnswer.h"
#include "backend/BodyLines.h"
#include "base/Characters.h"
#include "base/Json.h"
#include "base/Localized.h"

#include <QJsonDocument>
#include <QLoggingCategory>

namespace vennic {

namespace {

Q_LOGGING_CATEGORY(localModel, "vennic.localllm")

constexpr qint64 mostLoggedBody = 1500; // characters
constexpr qint64 mostLoggedModel = 200; // characters

/// A failure of the relay; its sentence is the task's answer as it stands.
class RelayError final : public LocalizedError {
public:
    using LocalizedError::LocalizedError;
};

/// Foreign words for the log: short, and no line of their own.
QString logged(const QString& text) {
    QString line = firstCharacters(text, mostLoggedModel);
    for (QChar& c : line) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return line;
}

QString loggedBody(const QByteArray& body) {
    const QString text = QString::fromUtf8(body);
    const qint64 left = characterCount(text) - mostLoggedBody;
    return left <= 0 ? text : firstCharacters(text, mostLoggedBody) + QStringLiteral("…[+%1B]").arg(left);
}

double seconds(std::chrono::nanoseconds duration) { return std::chrono::duration<double>(duration).count(); }

} // namespace

std::optional<QString> LocalLLMHandler::extractModel(const QString& json) {
    const QJsonValue model = QJsonDocument::fromJson(json.toUtf8()).object().value(QLatin1String("model"));
    return model.isString() ? std::optional(model.toString()) : std::nullopt;
}

QByteArray LocalLLMHandler::rewriteBodyForStreaming(const QString& json, const QString& model) {
    if (!json.isValidUtf16())
        throw LocalizedError(QStringLiteral("payload non UTF-8"));
    QByteArray bytes = json.toUtf8();
    const QJsonDocument document = parseJson(bytes);
    if (!document.isObject())
        return bytes;
    QJsonObject body = document.object();
    body.insert(QStringLiteral("model"), model);
    body.insert(QStringLiteral("stream"), true);
    body.insert(QStringLiteral("stream_options"), QJsonObject{{QStringLiteral("include_usage"), true}});
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

LocalLLMHandler::Prepared LocalLLMHandler::prepare(const LLMInferArgs& args) const {
    const LocalLLMSettings settings = context_.localLLM();
    if (!settings.enabled)
        throw RelayError(localized("Le LLM local est désactivé dans les Réglages du Mac."));
    auto url = localServerURL(settings.endpoint, QLatin1String("/chat/completions"));
    if (!url)
        throw RelayError(localized("URL du LLM local invalide : ") + settings.endpoint);
    QString model = settings.model;
    // A name with an owner before it is one of a real model; any other word leaves the choice to this machine.
    if (const auto asked = extractModel(args.openaiBodyJson); asked && asked->contains(u'/'))
        model = *asked;
    try {
        QByteArray body = rewriteBodyForStreaming(args.openaiBodyJson, model);
        return {localCompletionRequest(*std::move(url), std::move(body)), model};
    } catch (const LocalizedError& error) {
        throw RelayError(localized("Corps OpenAI invalide : ") + error.errorDescription());
    }
}

void LocalLLMHandler::logRequest(const Prepared& prepared) {
    const QByteArray body = prepared.request.body.value_or(QByteArray());
    QString line = QStringLiteral("[LocalLLM] → POST %1 model=%2 bytes=%3")
                       .arg(prepared.request.url.toString(QUrl::FullyEncoded | QUrl::RemoveUserInfo),
                            logged(prepared.model), QString::number(body.size()));
    if (qgetenv("VENNIC_LOCAL_LLM_DEBUG_BODY") == "1" && body.isValidUtf8())
        line += QStringLiteral(" body=") + loggedBody(body);
    qCInfo(localModel).noquote() << line;
}

Task<> LocalLLMHandler::handle(BridgeTask task, LLMInferArgs args, APIService api) {
    QString failure;
    try {
        Prepared prepared = prepare(args);
        logRequest(prepared);
        co_await relay(task.id, std::move(prepared), api);
        co_return;
    } catch (const RelayError& error) {
        failure = error.errorDescription();
    } catch (const LocalizedError& error) {
        failure = localized("Serveur local injoignable : ") + error.errorDescription();
    }
    co_await TaskAnswer::error(std::move(api), task.id, failure);
}

Task<> LocalLLMHandler::relay(QString id, Prepared prepared, APIService api) {
    const auto start = clock_.elapsed();
    LocalCompletionReader reader(co_await open(std::move(prepared.request)));
    RelayedDeltas deltas(api, id, clock_);
    bool begun = false;
    while (auto text = co_await reader.nextText()) {
        if (!std::exchange(begun, true)) {
            qCInfo(localModel).noquote() << QStringLiteral("[LocalLLM] ← first-token model=%1 ttft=%2s")
                                                .arg(logged(prepared.model),
                                                     QString::number(seconds(clock_.elapsed() - start), 'f', 2));
        }
        co_await deltas.take(*std::move(text));
    }
    co_await deltas.finish();
    const qint64 latency = std::chrono::duration_cast<std::chrono::milliseconds>(clock_.elapsed() - start).count();
    telemetry_.generationEnded(reader.answer().usage().completionTokens, latency);
    const QString response = assembledCompletion(reader.answer(), prepared.model);
    co_await api.reportBridgeTaskSuccess(
        id, BridgeLLMInferResult{.response_json = response, .model_used = prepared.model, .latency_ms = latency});
}

Task<std::unique_ptr<HttpStream>> LocalLLMHandler::open(HttpRequest request) {
    auto stream = co_await http_.sharedStream(std::move(request));
    const auto status = stream->status();
    if (!status)
        throw RelayError(localized("Réponse invalide du serveur local."));
    if (!isSuccess(status)) {
        const QString excerpt = co_await refusalIn(stream.get());
        throw RelayError(localized("Serveur local HTTP ") + QStringLiteral("%1 : ").arg(*status) + excerpt);
    }
    co_return stream;
}

} // namespace vennic
