#include "Bridge/TaskAnswer.h"

#include "base/LocalizedError.h"

namespace vennic {

Task<> TaskAnswer::success(APIService api, QString id, BridgeResult result) const {
    co_await encodedSuccess(std::move(api), std::move(id), encodeBridgeSuccessBody(result));
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

Task<> TaskAnswer::outcome(APIService api, QString id, Task<BridgeResult> work) const {
    BridgeResult result;
    std::optional<QString> failure;
    try {
        result = co_await work;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& thrown) {
        failure = localizedDescription(thrown);
    }
    if (failure)
        co_await error(std::move(api), std::move(id), *failure);
    else
        co_await success(std::move(api), std::move(id), std::move(result));
}

Task<> TaskAnswer::error(APIService api, QString id, QString message) {
    co_await encodedError(std::move(api), std::move(id), encodeBridgeErrorBody(message));
}

Task<> TaskAnswer::encodedError(APIService api, QString id, QByteArray body) {
    try {
        co_await api.reportBridgeTask(id, std::move(body));
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): nobody is left to tell
    }
}

} // namespace vennic
