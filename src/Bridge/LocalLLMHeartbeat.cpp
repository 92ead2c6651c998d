#include "Bridge/LocalLLMHeartbeat.h"

#include "Bridge/BridgeHeartbeat.h"
#include "base/Pool.h"

namespace vennic {

namespace {

constexpr std::chrono::seconds patience{1};

} // namespace

/// A heartbeat that waits for the scan, for as long as it does.
class LocalLLMHeartbeat::Waiter {
public:
    explicit Waiter(std::vector<Event<>*>& waiting) : waiting_(waiting) { waiting_.push_back(&event_); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;
    ~Waiter() { std::erase(waiting_, &event_); }
    Event<>& event() { return event_; }

private:
    std::vector<Event<>*>& waiting_;
    Event<> event_;
};

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
    Waiter waiter(waiting_);
    Scope patient;
    patient.start(giveUp(&clock_, &waiter.event()));
    co_await waiter.event();
}

Task<> LocalLLMHeartbeat::scan() {
    auto work = [](const std::stop_token&, const DownloadedIds& downloadedIds) { return downloadedIds(); };
    onDisk_ = co_await onPoolWaiting(work, downloadedIds_);
    scanning_ = false;
    for (Event<>* waiting : waiting_)
        waiting->set();
}

Task<> LocalLLMHeartbeat::giveUp(Clock* clock, Event<>* waiting) {
    co_await clock->sleep(patience);
    waiting->set();
}

} // namespace vennic
