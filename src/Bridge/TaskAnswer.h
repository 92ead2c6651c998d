#pragma once
#include "backend/APIService.h"
#include "base/Task.h"

#include <functional>

namespace vennic {

/// Sends a task's answer, once. Never fails but with Cancelled.
class TaskAnswer {
public:
    using UnsentSuccess = std::function<void(const QString& reason)>;

    /// `onUnsentSuccess` hears why a success couldn't be sent.
    explicit TaskAnswer(UnsentSuccess onUnsentSuccess) : onUnsentSuccess_(std::move(onUnsentSuccess)) {}

    Task<> success(APIService api, QString id, BridgeResult result) const;
    /// The same with what `encodeBridgeSuccessBody` gave.
    Task<> encodedSuccess(APIService api, QString id, QByteArray body) const;
    /// What `work` gives, or in an error answer why it failed.
    Task<> outcome(APIService api, QString id, Task<BridgeResult> work) const;
    /// An error answer that can't be sent is dropped: the backend lets the task run out of time.
    static Task<> error(APIService api, QString id, QString message);
    /// The same with what `encodeBridgeErrorBody` gave.
    static Task<> encodedError(APIService api, QString id, QByteArray body);

private:
    UnsentSuccess onUnsentSuccess_;
};

} // namespace vennic
