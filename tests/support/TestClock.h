#pragma once
#include "base/Clock.h"

#include <list>
#include <vector>

namespace vennic::test {

/// A clock that is turned by hand and remembers every sleep that was asked of it.
class TestClock final : public Clock {
public:
    QDateTime now() const override { return now_; }
    std::chrono::nanoseconds elapsed() const override { return elapsed_; }
    QTimeZone zone() const override { return inZone; }
    Task<> sleep(std::chrono::nanoseconds duration) override;

    /// Moves time on and wakes who has slept long enough.
    void advance(std::chrono::nanoseconds duration);
    /// Sleepers that have not been woken.
    std::size_t sleeping() const { return sleepers_.size(); }
    std::vector<std::chrono::nanoseconds> asked; // every sleep, in order
    QTimeZone inZone = QTimeZone::utc();

private:
    struct Sleeper {
        std::chrono::nanoseconds until;
        Event<> woken;
    };
    std::chrono::nanoseconds elapsed_{0};
    QDateTime now_ = QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33), Qt::UTC);
    std::list<Sleeper*> sleepers_;
};

} // namespace vennic::test
