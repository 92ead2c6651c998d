#pragma once
#include "base/Task.h"

namespace vennic {

/// `co_await HearInstead{token}` has the running task, and what it awaits from here on, be stopped by that token and no
/// longer by its job's: for the steps between which nothing may be left. Its job's end still ends it.
struct HearInstead {
    std::stop_token token;
    bool await_ready() const noexcept { return false; }
    template <class P>
    bool await_suspend(std::coroutine_handle<P> handle) {
        handle.promise().stop = std::move(token);
        return false;
    }
    void await_resume() const noexcept {}
};

} // namespace vennic
