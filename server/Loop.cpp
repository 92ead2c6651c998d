#include "server/Loop.h"

#include <QDateTime>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <csignal>

namespace vennic::server {

namespace asio = boost::asio;

struct Loop::Engine {
    asio::io_context context{1};
    std::optional<asio::signal_set> signals;
};

namespace {
struct Wait {
    Wait(asio::io_context& context, std::function<void()> whatThen) : timer(context), then(std::move(whatThen)) {}
    asio::steady_timer timer;
    std::function<void()> then;
};
} // namespace

Loop::Loop(std::function<qint64()> wallClock)
    : wallClock_(wallClock ? std::move(wallClock) : [] { return QDateTime::currentMSecsSinceEpoch(); }),
      engine_(std::make_unique<Engine>()) {}

Loop::~Loop() = default;

qint64 Loop::wallMs() const { return wallClock_(); }

std::chrono::nanoseconds Loop::elapsed() const { return std::chrono::steady_clock::now().time_since_epoch(); }

TimeKeeper::Timer Loop::after(std::chrono::milliseconds delay, std::function<void()> then) {
    auto wait = std::make_shared<Wait>(engine_->context, std::move(then));
    wait->timer.expires_after(delay);
    wait->timer.async_wait([weak = std::weak_ptr<Wait>(wait)](const boost::system::error_code& error) {
        const auto alive = weak.lock();
        if (!alive || error)
            return;
        const auto due = std::move(alive->then);
        due();
    });
    return wait;
}

void Loop::run() {
    const auto work = asio::make_work_guard(engine_->context);
    engine_->context.run();
}

void Loop::stop() { engine_->context.stop(); }

void Loop::post(std::function<void()> work) { asio::post(engine_->context, std::move(work)); }

void Loop::onTermination(std::function<void()> then) {
    auto& signals = engine_->signals.emplace(engine_->context, SIGTERM, SIGINT);
    signals.async_wait([then = std::move(then)](const boost::system::error_code& error, int) {
        if (!error)
            then();
    });
}

asio::io_context& Loop::context() { return engine_->context; }

} // namespace vennic::server
