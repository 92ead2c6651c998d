#pragma once
#include "core/LocalLLMTelemetrySink.h"

#include <QStringList>

namespace vennic::test {

/// Remembers what the session told the telemetry: "endpoint URL", "enabled", "disabled".
class LocalLLMTelemetrySinkFake final : public LocalLLMTelemetrySink {
public:
    Task<> setEndpoint(QString endpoint) override {
        told.append(QStringLiteral("endpoint ") + endpoint);
        co_return;
    }
    Task<> setModelProbeEnabled(bool enabled) override {
        told.append(enabled ? QStringLiteral("enabled") : QStringLiteral("disabled"));
        co_return;
    }

    QStringList told;
};

} // namespace vennic::test
