#include "Bridge/LocalLLMHeartbeat.h"

#include "Bridge/BridgeHeartbeat.h"
#include "base/Pool.h"

namespace vennic {

Task<std::optional<QByteArray>> LocalLLMHeartbeat::encodedHeartbeat() {
    BridgeHeartbeat heartbeat;
    if (telemetry_.modelProbeEnabled())
        heartbeat.loaded_model = co_await telemetry_.currentLoadedModel();
    const auto ram = telemetry_.ramSnapshot();
    heartbeat.ram_used_gb = ram.used;
    heartbeat.ram_total_gb = ram.total;
    const QSet<QString> ids = co_await onPoolWaiting(downloadedIds_);
    if (!ids.isEmpty()) {
        QStringList models(ids.begin(), ids.end());
        models.sort(); // the same models, the same record
        heartbeat.downloaded_models = std::move(models);
    }
    heartbeat.tok_per_sec_recent = telemetry_.tokPerSecEMA();
    co_return heartbeat.encode();
}

} // namespace vennic
