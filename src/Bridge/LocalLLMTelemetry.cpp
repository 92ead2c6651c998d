#include "Bridge/LocalLLMTelemetry.h"

#include "backend/LocalCompletionReader.h"
#include "base/Json.h"

#include <algorithm>

namespace vennic {

namespace {

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
    probe_.cancel();
    probe_ = Job{};
    ++forgotten_;
    asking_.wake(std::nullopt);
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
    if (!probe_)
        probe_ = jobs_.start(probe(forgotten_));
    Waiters<std::optional<QString>>::Place place(asking_);
    co_return co_await place.event();
}

Task<> LocalLLMTelemetry::probe(quint64 asked) {
    const std::optional<QString> model = co_await ask(&http_, endpointForModelProbe_);
    if (asked != forgotten_)
        co_return;
    probe_ = Job{};
    if (model) {
        cachedModel_ = model;
        cachedModelAt_ = clock_.now();
    }
    asking_.wake(model);
}

Task<std::optional<QString>> LocalLLMTelemetry::ask(VennicHTTP* http, QString endpoint) {
    auto request = localModelsRequest(endpoint, localServerPatience);
    if (!request)
        co_return std::nullopt;
    request->maxAnswerBytes = mostListBytes;
    try {
        const HttpResponse response = co_await http->sharedData(*std::move(request));
        if (!isSuccess(response.status))
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
