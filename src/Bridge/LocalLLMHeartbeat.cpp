#include "Bridge/LocalLLMHeartbeat.h"

#include "Bridge/BridgeHeartbeat.h"
#include "base/Pool.h"

namespace vennic {

namespace {

constexpr std::chrono::seconds patience{1};

} // namespace

Task<std::optional<QByteArray>> LocalLLMHeartbeat::encodedHeartbeat() {
    BridgeHeartbeat heartbeat;
    if (telemetry_.modelProbeEnabled())
        heartbeat.loaded_model = co_await telemetry_.currentLoadedModel();
    const auto ram = telemetry_.ramSnapshot();
    heartbeat.ram_used_gb = ram.used;
    heartbeat.ram_total_gb = ram.total;
    co_await readDisk();
    if (!onDisk_.isEmpty()) {
        QStringList models(onDisk_.begin(), onDisk_.end());
        models.sort(); // the same models, the same record
        heartbeat.downloaded_models = std::move(models);
    }
    heartbeat.tok_per_sec_recent = telemetry_.tokPerSecEMA();
    co_return heartbeat.encode();
}

Task<> LocalLLMHeartbeat::readDisk() {
    if (!std::exchange(scanning_, true))
        jobs_.start(scan());
    Waiters<>::Place place(waiting_);
    Scope patient;
    patient.start(giveUp(&clock_, &place.event()));
    co_await place.event();
}

Task<> LocalLLMHeartbeat::scan() {
    auto work = [](const std::stop_token&, const DownloadedIds& downloadedIds) { return downloadedIds(); };
    onDisk_ = co_await onPoolWaiting(work, downloadedIds_);
    scanning_ = false;
    waiting_.wake();
}

Task<> LocalLLMHeartbeat::giveUp(Clock* clock, Event<>* waiting) {
    co_await clock->sleep(patience);
    waiting->set();
}

} // namespace vennic
