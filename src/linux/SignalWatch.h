#pragma once
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace vennic {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread, so that the program ends as if asked to. One at
/// a time. Programs started later get the default behaviour of these signals back.
class SignalWatch {
public:
    explicit SignalWatch(std::function<void()> ended);
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;
    ~SignalWatch();

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vennic
