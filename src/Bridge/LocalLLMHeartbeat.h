#pragma once
#include "Bridge/HeartbeatSource.h"
#include "Bridge/LocalLLMTelemetry.h"

#include <QSet>

#include <functional>

namespace vennic {

/// The heartbeat that the telemetry and the disk make up. Main thread only.
class LocalLLMHeartbeat final : public HeartbeatSource {
public:
    using DownloadedIds = std::function<QSet<QString>()>; // read on the pool

    LocalLLMHeartbeat(LocalLLMTelemetry& telemetry, DownloadedIds downloadedIds)
        : telemetry_(telemetry), downloadedIds_(std::move(downloadedIds)) {}

    Task<std::optional<QByteArray>> encodedHeartbeat() override;

private:
    LocalLLMTelemetry& telemetry_;
    DownloadedIds downloadedIds_;
};

} // namespace vennic
