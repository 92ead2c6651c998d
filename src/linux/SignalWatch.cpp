#include "linux/SignalWatch.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vennic {

namespace {

std::atomic<int> wakeUp{-1}; // read by the handler, which may only use what is safe there

void onSignal(int) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(wakeUp.load(), &one, sizeof one);
}

void handle(int number, void (*handler)(int)) {
    struct sigaction action{};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

} // namespace

SignalWatch::SignalWatch(std::function<void()> ended) {
    wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    notifier_ = std::make_unique<QSocketNotifier>(wakeUp, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [ended = std::move(ended)] {
        std::uint64_t count = 0;
        if (::read(wakeUp, &count, sizeof count) == sizeof count)
            ended();
    });
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        handle(number, onSignal);
    // A handler that does nothing, since "ignored" would be inherited by every program that we start.
    handle(SIGPIPE, [](int) {});
}

SignalWatch::~SignalWatch() {
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        handle(number, SIG_DFL);
    notifier_.reset();
    ::close(wakeUp.exchange(-1));
}

} // namespace vennic
