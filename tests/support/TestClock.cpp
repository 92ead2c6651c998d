#include "support/TestClock.h"

namespace vennic::test {

Task<> TestClock::sleep(std::chrono::nanoseconds duration) {
    asked.push_back(duration);
    Sleeper sleeper{elapsed_ + duration, {}};
    struct Registered {
        std::list<Sleeper*>& list;
        Sleeper* sleeper;
        ~Registered() { list.remove(sleeper); }
    };
    sleepers_.push_back(&sleeper);
    const Registered registered{sleepers_, &sleeper};
    co_await sleeper.woken;
}

void TestClock::advance(std::chrono::nanoseconds duration) {
    elapsed_ += duration;
    now_ = now_.addMSecs(std::chrono::duration_cast<std::chrono::milliseconds>(duration).count());
    for (Sleeper* sleeper : sleepers_) {
        if (sleeper->until <= elapsed_)
            sleeper->woken.set();
    }
}

} // namespace vennic::test
