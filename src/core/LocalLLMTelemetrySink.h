#pragma once
#include "base/Task.h"

#include <QString>

namespace vennic {

/// Who wants to know where the local model is served and whether it is switched on. Its calls may wait for each
/// other; they fail towards nobody.
class LocalLLMTelemetrySink {
public:
    virtual ~LocalLLMTelemetrySink() = default;
    virtual Task<> setEndpoint(QString endpoint) = 0;
    virtual Task<> setModelProbeEnabled(bool enabled) = 0;
};

/// A program without telemetry: what it is told goes nowhere.
class NoLocalLLMTelemetry final : public LocalLLMTelemetrySink {
public:
    Task<> setEndpoint(QString) override { co_return; }
    Task<> setModelProbeEnabled(bool) override { co_return; }
};

} // namespace vennic
