#include "localllm/LocalServerCheck.h"

#include "backend/LocalCompletionReader.h"
#include "base/Json.h"
#include "base/Localized.h"
#include "base/ShownText.h"
#include "localllm/LocalLLMModel.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr auto checkPatience = std::chrono::seconds{5};
constexpr auto testPatience = std::chrono::seconds{60};
constexpr qint64 mostBytes = 4LL * 1024 * 1024;
constexpr int mostModels = 200;
constexpr qsizetype longestAnswer = 4'000; // UTF-16 code units

QString readable(const QString& text) { return drawableText(shownText(text, longestAnswer)); }

QByteArray testBody(const QString& model) {
    const auto message = [](const char* role, const char* content) {
        return QJsonObject{{QStringLiteral("role"), QString::fromUtf8(role)},
                           {QStringLiteral("content"), QString::fromUtf8(content)}};
    };
    const QJsonObject body{
        {QStringLiteral("model"), model},
        {QStringLiteral("messages"),
         QJsonArray{message("system", "Réponds en une phrase très courte."),
                    message("user", "Dis bonjour en français. /no_think")}}, // no field turns thinking off everywhere
        {QStringLiteral("max_tokens"), 64},
        {QStringLiteral("temperature"), 0.2},
    };
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

/// choices[0].message.content of an answer.
std::optional<QString> saidIn(const QByteArray& body) {
    try {
        const QJsonArray choices = requiredArray(parseJsonObject(body), QLatin1String("choices"));
        const QJsonObject message = requiredObject(objectOf(choices.first()), QLatin1String("message"));
        return requiredString(message, QLatin1String("content"));
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace

QStringList listedModels(const QByteArray& body) {
    try {
        const QJsonArray list = requiredArray(parseJsonObject(body), QLatin1String("data"));
        if (!std::ranges::all_of(list, [](const QJsonValue& row) { return row.isObject(); }))
            return {};
        QStringList ids;
        for (auto row = list.begin(); row != list.end() && ids.size() < mostModels; ++row) {
            const QJsonValue id = (*row).toObject()[QLatin1String("id")];
            if (id.isString() && id.toString().size() <= longestModelId)
                ids.append(id.toString());
        }
        return ids;
    } catch (const DecodingError&) {
        return {};
    }
}

Task<LocalServerAnswer> checkLocalServer(VennicHTTP* http, QUrl url) {
    HttpRequest request = localModelsRequest(std::move(url), checkPatience);
    request.maxAnswerBytes = mostBytes;
    try {
        const HttpResponse response = co_await http->sharedData(std::move(request));
        if (!response.status)
            throw TransportError(TransportFault::badAnswer);
        if (!isSuccess(response.status))
            co_return LocalServerAnswer{HealthStatus::down(QStringLiteral("HTTP %1").arg(*response.status))};
        co_return LocalServerAnswer{HealthStatus::ok(), listedModels(response.body)};
    } catch (const LocalizedError& error) {
        co_return LocalServerAnswer{HealthStatus::down(error.errorDescription())};
    }
}

Task<InferenceTestResult> testInference(VennicHTTP* http, Clock* clock, QString endpoint, QString model) {
    auto url = localServerURL(endpoint, QLatin1String("/chat/completions"));
    if (!url)
        co_return InferenceTestResult{.error = localized("URL invalide")};
    HttpRequest request;
    request.method = "POST";
    request.url = *std::move(url);
    request.headers = {{"Content-Type", "application/json"}};
    request.body = testBody(model);
    request.timeout = testPatience;
    request.maxAnswerBytes = mostBytes;
    const auto begun = clock->elapsed();
    try {
        const HttpResponse response = co_await http->sharedData(std::move(request));
        const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(clock->elapsed() - begun).count();
        if (!response.status)
            throw TransportError(TransportFault::badAnswer);
        if (!isSuccess(response.status))
            co_return InferenceTestResult{.error = readable(QStringLiteral("HTTP %1 : ").arg(*response.status) +
                                                            QString::fromUtf8(response.body))};
        const auto said = saidIn(response.body);
        co_return InferenceTestResult{
            .output = QStringLiteral("✓ %1 ms").arg(milliseconds) +
                      (said ? QStringLiteral(" — ") + readable(*said) : localized(" (réponse non décodée)"))};
    } catch (const LocalizedError& error) {
        co_return InferenceTestResult{.error = error.errorDescription()};
    }
}

} // namespace vennic
