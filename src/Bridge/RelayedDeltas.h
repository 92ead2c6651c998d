#pragma once
#include "backend/APIService.h"
#include "base/Clock.h"

namespace vennic {

/// The text of one task on its way to the backend, in updates that are neither too many nor too late: the first piece
/// at once, then at 20 characters or 0.05 seconds. No timer runs: what is pending waits for the next piece or the end.
/// An update that can't be sent is dropped. `clock` outlives it.
class RelayedDeltas {
public:
    RelayedDeltas(APIService api, QString taskId, const Clock& clock)
        : api_(std::move(api)), taskId_(std::move(taskId)), clock_(clock), lastFlush_(clock.elapsed()) {}

    /// Takes the next piece. Waits while an update is under way. Raises Cancelled.
    Task<> take(QString delta);
    /// Sends what is pending. Raises Cancelled.
    Task<> finish();

private:
    bool isDue() const;
    static Task<> send(APIService api, QString taskId, QString text);

    APIService api_;
    QString taskId_;
    const Clock& clock_;
    std::chrono::nanoseconds lastFlush_;
    QString pending_;
    bool begun_ = false;
};

} // namespace vennic
