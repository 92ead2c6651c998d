#pragma once
#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace vennic::test {

/// Returns once somebody asks to stop, and not before.
inline void waitUntilStopped(std::stop_token stop) {
    std::mutex lock;
    std::condition_variable_any changed;
    std::unique_lock guard(lock);
    changed.wait(guard, std::move(stop), [] { return false; });
}

} // namespace vennic::test
