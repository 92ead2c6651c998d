#pragma once
#include "backend/VennicHTTP.h"
#include "base/Clock.h"
#include "base/Waiters.h"
#include "core/LocalLLMTelemetrySink.h"
#include "ports/SystemMemory.h"

namespace vennic {

/// The few live numbers of the local model: which one is loaded, how fast it is, how full the memory. Main thread only.
class LocalLLMTelemetry final : public LocalLLMTelemetrySink {
public:
    /// In units of 2^30 bytes.
    struct RamSnapshot {
        std::optional<double> used;
        std::optional<double> total;
        bool operator==(const RamSnapshot&) const = default;
    };

    /// What is named here outlives it.
    LocalLLMTelemetry(VennicHTTP& http, const SystemMemory& memory, Clock& clock)
        : http_(http), memory_(memory), clock_(clock) {}

    /// The one that the program installed.
    static LocalLLMTelemetry& shared() { return *shared_; }
    static void install(LocalLLMTelemetry* telemetry) { shared_ = telemetry; }

    Task<> setEndpoint(QString endpoint) override;
    Task<> setModelProbeEnabled(bool enabled) override;
    bool modelProbeEnabled() const { return modelProbeEnabled_; }

    /// The first model that the local server names; what it named in the last minute stands in for asking again, and
    /// who asks while it is being asked waits for the same answer. None when it hasn't answered whole within two
    /// seconds, or has been replaced while it was asked. Fails with Cancelled alone.
    Task<std::optional<QString>> currentLoadedModel();
    RamSnapshot ramSnapshot() const;

    /// A generation has ended. Without a token, or within less than a millisecond, it tells nothing.
    void generationEnded(qint64 completionTokens, qint64 latencyMs);
    /// Tokens a second, smoothed over the generations of this process; none before the first.
    const std::optional<double>& tokPerSecEMA() const { return tokPerSecEMA_; }

private:
    void forgetModel();
    bool isFresh() const;
    /// `asked` is `forgotten_` when it was begun.
    Task<> probe(quint64 asked);
    static Task<std::optional<QString>> ask(VennicHTTP* http, QString endpoint);

    static LocalLLMTelemetry* shared_;

    VennicHTTP& http_;
    const SystemMemory& memory_;
    Clock& clock_;
    std::optional<double> tokPerSecEMA_;
    std::optional<QString> cachedModel_;
    std::optional<QDateTime> cachedModelAt_;
    QString endpointForModelProbe_ = QStringLiteral("http://localhost:8080/v1");
    bool modelProbeEnabled_ = false;
    quint64 forgotten_ = 0; // how often; an answer from before is nobody's
    Job probe_;             // the one under way
    Waiters<std::optional<QString>> asking_;
    Scope jobs_;
};

} // namespace vennic
