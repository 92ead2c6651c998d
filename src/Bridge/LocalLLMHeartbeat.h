#pragma once
#include "Bridge/HeartbeatSource.h"
#include "Bridge/LocalLLMTelemetry.h"
#include "base/Waiters.h"

#include <QSet>

#include <functional>

namespace vennic {

/// The heartbeat that the telemetry and the disk make up. A disk that doesn't answer holds up no poll: after a second
/// what it told last is told again, and it isn't asked anew before it has answered. Main thread only.
class LocalLLMHeartbeat final : public HeartbeatSource {
public:
    using DownloadedIds = std::function<QSet<QString>()>; // read on the pool

    /// What is named here outlives it.
    LocalLLMHeartbeat(LocalLLMTelemetry& telemetry, Clock& clock, DownloadedIds downloadedIds)
        : telemetry_(telemetry), clock_(clock), downloadedIds_(std::move(downloadedIds)) {}

    Task<std::optional<QByteArray>> encodedHeartbeat() override;

private:
    /// Ends once the disk has been read, or after a second.
    Task<> readDisk();
    Task<> scan();
    static Task<> giveUp(Clock* clock, Event<>* waiting);

    LocalLLMTelemetry& telemetry_;
    Clock& clock_;
    DownloadedIds downloadedIds_;
    QSet<QString> onDisk_; // when it was last read
    bool scanning_ = false;
    Waiters<> waiting_; // for the end of the scan
    Scope jobs_;
};

} // namespace vennic
