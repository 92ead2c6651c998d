#pragma once
#include "server/TimeKeeper.h"

#include <vector>

namespace vennic::server::test {

/// Time that is turned by hand.
class TurnedTime final : public TimeKeeper {
public:
    qint64 wallMs() const override {
        return 1'740'000'000'000 + std::chrono::duration_cast<std::chrono::milliseconds>(now_).count();
    }
    std::chrono::nanoseconds elapsed() const override { return now_; }
    Timer after(std::chrono::milliseconds delay, std::function<void()> then) override {
        auto wait = std::make_shared<Wait>(Wait{now_ + delay, std::move(then)});
        waits_.push_back(wait);
        return wait;
    }
    /// Moves on and calls what has become due.
    void advance(std::chrono::nanoseconds by) {
        now_ += by;
        const auto waits = waits_;
        for (const auto& weak : waits) {
            const auto wait = weak.lock();
            if (wait && wait->then && wait->due <= now_)
                std::exchange(wait->then, nullptr)();
        }
        std::erase_if(waits_, [](const auto& each) { return each.expired(); });
    }

private:
    struct Wait {
        std::chrono::nanoseconds due;
        std::function<void()> then;
    };
    std::chrono::nanoseconds now_{0};
    std::vector<std::weak_ptr<Wait>> waits_;
};

} // namespace vennic::server::test
