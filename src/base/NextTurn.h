#pragma once
#include "base/Task.h"

namespace vennic {

/// `co_await NextTurn{}` goes on once all that already waits for the main thread has had its turn: for work that would
/// hold it too long in one go. Raises Cancelled.
class NextTurn {
public:
    bool await_ready() const noexcept { return false; }
    template <class P>
    void await_suspend(std::coroutine_handle<P> waiter) {
        stop_ = waiter.promise().stop;
        QMetaObject::invokeMethod(&context_, [waiter] { waiter.resume(); }, Qt::QueuedConnection);
    }
    void await_resume() const {
        if (stop_.stop_requested())
            throw Cancelled{};
    }

private:
    QObject context_; // drops the queued wake-up when the frame dies first
    std::stop_token stop_;
};

} // namespace vennic
