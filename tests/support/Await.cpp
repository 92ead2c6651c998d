#include "support/Await.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <stdexcept>

namespace vennic::test {

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const QDeadlineTimer deadline(limit);
    // Wakes the loop so that conditions set by other threads without an event are seen too.
    QTimer tick;
    tick.start(std::chrono::milliseconds{5});
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

namespace detail {

Task<> keepVoid(Task<> task, std::exception_ptr* error, bool* ended) {
    try {
        co_await task;
    } catch (...) {
        *error = std::current_exception();
    }
    *ended = true;
}

void failTimedOut() { throw std::runtime_error("the awaited task did not end in time"); }

} // namespace detail
} // namespace vennic::test
