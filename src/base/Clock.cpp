#include "base/Clock.h"

namespace vennic {

Task<> SystemClock::sleep(std::chrono::nanoseconds duration) {
    Event<> elapsed;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&elapsed] { elapsed.set(); });
    timer.start(std::chrono::ceil<std::chrono::milliseconds>(duration));
    co_await elapsed;
}

} // namespace vennic
