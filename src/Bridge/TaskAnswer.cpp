#include "Bridge/TaskAnswer.h"

#include "base/LocalizedError.h"

namespace vennic {

Task<> TaskAnswer::success(APIService api, QString id, BridgeResult result) const {
    return encodedSuccess(std::move(api), std::move(id), encodeBridgeSuccessBody(result));
}

Task<> TaskAnswer::encodedSuccess(APIService api, QString id, QByteArray body) const {
    try {
        co_await api.reportBridgeTask(id, std::move(body));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        onUnsentSuccess_(localizedDescription(failure));
    }
}

Task<> TaskAnswer::error(APIService api, QString id, QString message) {
    return encodedError(std::move(api), std::move(id), encodeBridgeErrorBody(message));
}

Task<> TaskAnswer::encodedError(APIService api, QString id, QByteArray body) {
    try {
        co_await api.reportBridgeTask(id, std::move(body));
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): nobody is left to tell
    }
}

} // namespace vennic
