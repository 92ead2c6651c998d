#include "Bridge/TaskAnswer.h"

#include "base/LocalizedError.h"

namespace vennic {

template <class Result>
Task<> TaskAnswer::send(APIService api, QString id, Result result) const {
    try {
        co_await api.reportBridgeTaskSuccess(id, std::move(result));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        onUnsentSuccess_(localizedDescription(failure));
    }
}

Task<> TaskAnswer::success(APIService api, QString id, BridgeResult result) const {
    return send(std::move(api), std::move(id), std::move(result));
}

Task<> TaskAnswer::encodedSuccess(APIService api, QString id, QByteArray body) const {
    return send(std::move(api), std::move(id), std::move(body));
}

Task<> TaskAnswer::error(APIService api, QString id, QString message) {
    try {
        co_await api.reportBridgeTaskError(id, message);
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): nobody is left to tell
    }
}

} // namespace vennic
