#pragma once
#include <QtGlobal>

#include <chrono>
#include <functional>
#include <memory>

namespace vennic::server {

/// Where the server's time comes from: two clocks and the wait for later. Tests turn one by hand.
class TimeKeeper {
public:
    virtual ~TimeKeeper() = default;
    /// Milliseconds since 1970, UTC.
    virtual qint64 wallMs() const = 0;
    /// A clock that never jumps, for the length of things.
    virtual std::chrono::nanoseconds elapsed() const = 0;
    /// A wait that is given up when the last copy of it goes.
    using Timer = std::shared_ptr<void>;
    /// Calls `then` once after `delay`, never from within this call.
    [[nodiscard]] virtual Timer after(std::chrono::milliseconds delay, std::function<void()> then) = 0;
};

} // namespace vennic::server
