#pragma once
#include "Bridge/BridgeContext.h"
#include "Bridge/LocalLLMTelemetry.h"
#include "backend/APIService.h"
#include "backend/LocalCompletionReader.h"
#include "base/Clock.h"

namespace vennic {

/// Answers `llm_infer`: has the local server complete the chat that the backend hands over, streams the text back while
/// it comes, and ends with one assembled answer. Main thread only.
class LocalLLMHandler {
public:
    /// What is named here outlives it.
    LocalLLMHandler(VennicHTTP& http, const BridgeContext& context, LocalLLMTelemetry& telemetry, const Clock& clock)
        : http_(http), context_(context), telemetry_(telemetry), clock_(clock) {}

    /// Sends its own answer. Never fails but with Cancelled, which closes the connection to the local server at once.
    Task<> handle(BridgeTask task, LLMInferArgs args, APIService api);

    /// The model that a request's body names; none when it isn't JSON or names none.
    static std::optional<QString> extractModel(const QString& json);
    /// The bytes to send: the object with `model` and with streaming asked for; any other JSON as it stands. Raises
    /// LocalizedError.
    static QByteArray rewriteBodyForStreaming(const QString& json, const QString& model);

private:
    struct Prepared {
        HttpRequest request;
        QString model;
    };

    Prepared prepare(const LLMInferArgs& args) const;
    static void logRequest(const Prepared& prepared);
    Task<> relay(QString id, Prepared prepared, APIService api);
    Task<std::unique_ptr<HttpStream>> open(HttpRequest request);

    VennicHTTP& http_;
    const BridgeContext& context_;
    LocalLLMTelemetry& telemetry_;
    const Clock& clock_;
};

} // namespace vennic
