#include "Bridge/TaskAnswer.h"

#include "base/LocalizedError.h"

namespace vennic {

Task<> TaskAnswer::success(APIService api, QString id, BridgeResult result) const {
    try {
        co_await api.reportBridgeTaskSuccess(id, result);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        onUnsentSuccess_(localizedDescription(failure));
    }
}

Task<> TaskAnswer::error(APIService api, QString id, QString message) {
    try {
        co_await api.reportBridgeTaskError(id, message);
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): nobody is left to tell
    }
}

} // namespace vennic
