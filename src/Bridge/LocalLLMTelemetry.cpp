#include "Bridge/LocalLLMTelemetry.h"

#include "backend/LocalCompletionReader.h"
#include "base/Json.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr auto patience = std::chrono::seconds{2};
constexpr qint64 cacheSeconds = 60;
constexpr qint64 mostListBytes = 1024LL * 1024;
constexpr qsizetype longestModel = 512; // UTF-16 code units; it goes into a header of every poll
constexpr double weightOfSample = 0.3;
constexpr double gibibyte = 1024.0 * 1024 * 1024;

std::optional<double> inGibibytes(std::optional<qint64> bytes) {
    return bytes ? std::optional(static_cast<double>(*bytes) / gibibyte) : std::nullopt;
}

/// The id of the first model in an answer to GET /models.
std::optional<QString> firstModel(const QByteArray& body) {
    try {
        const QJsonArray list = requiredArray(parseJsonObject(body), QLatin1String("data"));
        if (list.isEmpty() || !std::ranges::all_of(list, [](const QJsonValue& row) { return row.isObject(); }))
            return std::nullopt;
        const QString id = requiredString(list.first().toObject(), QLatin1String("id"));
        return id.size() <= longestModel ? std::optional(id) : std::nullopt;
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace

LocalLLMTelemetry* LocalLLMTelemetry::shared_ = nullptr;

Task<> LocalLLMTelemetry::setEndpoint(QString endpoint) {
    endpointForModelProbe_ = endpoint;
    forgetModel();
    co_return;
}

Task<> LocalLLMTelemetry::setModelProbeEnabled(bool enabled) {
    modelProbeEnabled_ = enabled;
    if (!enabled)
        forgetModel();
    co_return;
}

void LocalLLMTelemetry::forgetModel() {
    cachedModel_.reset();
    cachedModelAt_.reset();
    ++forgotten_;
}

bool LocalLLMTelemetry::isFresh() const {
    if (!cachedModel_ || !cachedModelAt_)
        return false;
    const qint64 age = cachedModelAt_->secsTo(clock_.now());
    return age >= 0 && age < cacheSeconds; // a clock that was set back makes nothing fresh
}

Task<std::optional<QString>> LocalLLMTelemetry::currentLoadedModel() {
    if (isFresh())
        co_return cachedModel_;
    const quint64 asked = forgotten_;
    std::optional<QString> model = co_await ask(&http_, endpointForModelProbe_);
    if (!model || asked != forgotten_)
        co_return std::nullopt;
    cachedModel_ = model;
    cachedModelAt_ = clock_.now();
    co_return model;
}

Task<std::optional<QString>> LocalLLMTelemetry::ask(VennicHTTP* http, QString endpoint) {
    auto url = localServerURL(endpoint, QLatin1String("/models"));
    if (!url)
        co_return std::nullopt;
    HttpRequest request;
    request.url = *std::move(url);
    request.timeout = patience;
    request.maxAnswerBytes = mostListBytes;
    try {
        const HttpResponse response = co_await http->sharedData(std::move(request));
        if (!response.status || *response.status < 200 || *response.status > 299)
            co_return std::nullopt;
        co_return firstModel(response.body);
    } catch (const TransportError&) {
        co_return std::nullopt;
    }
}

LocalLLMTelemetry::RamSnapshot LocalLLMTelemetry::ramSnapshot() const {
    const MemoryUse use = memory_.use();
    return {.used = inGibibytes(use.used), .total = inGibibytes(use.total)};
}

void LocalLLMTelemetry::generationEnded(qint64 completionTokens, qint64 latencyMs) {
    if (completionTokens < 1 || latencyMs < 1)
        return;
    const double sample = static_cast<double>(completionTokens) / (static_cast<double>(latencyMs) / 1000);
    tokPerSecEMA_ = tokPerSecEMA_ ? sample * weightOfSample + *tokPerSecEMA_ * (1 - weightOfSample) : sample;
}

} // namespace vennic
