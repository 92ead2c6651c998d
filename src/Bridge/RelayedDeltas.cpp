#include "Bridge/RelayedDeltas.h"

#include "base/Characters.h"

#include <utility>

namespace vennic {

namespace {

constexpr qint64 enoughCharacters = 20;
constexpr auto longEnough = std::chrono::milliseconds{50};

} // namespace

Task<> RelayedDeltas::take(QString delta) {
    if (!std::exchange(begun_, true)) {
        co_await send(api_, taskId_, std::move(delta));
        co_return;
    }
    pending_ += delta;
    if (!isDue())
        co_return;
    lastFlush_ = clock_.elapsed();
    co_await send(api_, taskId_, std::exchange(pending_, {}));
}

bool RelayedDeltas::isDue() const {
    return clock_.elapsed() - lastFlush_ >= longEnough || characterCount(pending_) >= enoughCharacters;
}

Task<> RelayedDeltas::finish() {
    if (!pending_.isEmpty())
        co_await send(api_, taskId_, std::exchange(pending_, {}));
}

Task<> RelayedDeltas::send(APIService api, QString taskId, QString text) {
    try {
        co_await api.reportBridgeTaskStream(taskId, text);
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): the whole text comes with the end
    }
}

} // namespace vennic
