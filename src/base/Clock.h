#pragma once
#include "base/Task.h"

#include <QDateTime>
#include <QTimeZone>

#include <chrono>

namespace vennic {

/// Where time comes from. Tests have one that they turn by hand.
class Clock {
public:
    virtual ~Clock() = default;
    /// The present moment, UTC.
    virtual QDateTime now() const = 0;
    /// Time that has passed since some moment of its own; never goes back, whatever is done to the date.
    virtual std::chrono::nanoseconds elapsed() const = 0;
    /// The zone that the machine is in now.
    virtual QTimeZone zone() const = 0;
    /// Waits on the main thread; cancellable. Raises Cancelled.
    virtual Task<> sleep(std::chrono::nanoseconds duration) = 0;
};

/// The machine's clock and Qt's timers.
class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
    std::chrono::nanoseconds elapsed() const override { return std::chrono::steady_clock::now().time_since_epoch(); }
    QTimeZone zone() const override { return QTimeZone::systemTimeZone(); }
    Task<> sleep(std::chrono::nanoseconds duration) override;
};

} // namespace vennic
