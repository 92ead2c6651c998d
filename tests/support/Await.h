#pragma once
#include "base/Task.h"

#include <chrono>
#include <functional>
#include <optional>

namespace vennic::test {

/// Runs the event loop until `done` holds, at most `limit`. True when it held.
bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds{20});

namespace detail {
template <class T>
Task<> keep(Task<T> task, std::optional<T>* value, std::exception_ptr* error, bool* ended) {
    try {
        value->emplace(co_await task);
    } catch (...) {
        *error = std::current_exception();
    }
    *ended = true;
}
Task<> keepVoid(Task<> task, std::exception_ptr* error, bool* ended);
[[noreturn]] void failTimedOut();
} // namespace detail

/// Runs `task` to its end on this thread's event loop and gives its value or raises its error.
template <class T>
T await(Task<T> task, std::chrono::milliseconds limit = std::chrono::seconds{20}) {
    std::exception_ptr error;
    bool ended = false;
    Scope scope;
    if constexpr (std::is_void_v<T>) {
        scope.start(detail::keepVoid(std::move(task), &error, &ended));
        if (!waitUntil([&] { return ended; }, limit))
            detail::failTimedOut();
        if (error)
            std::rethrow_exception(error);
    } else {
        std::optional<T> value;
        scope.start(detail::keep<T>(std::move(task), &value, &error, &ended));
        if (!waitUntil([&] { return ended; }, limit))
            detail::failTimedOut();
        if (error)
            std::rethrow_exception(error);
        return std::move(*value); // NOLINT(bugprone-unchecked-optional-access): no error means a value
    }
}

} // namespace vennic::test
