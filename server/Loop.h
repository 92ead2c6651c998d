#pragma once
#include "server/TimeKeeper.h"

namespace boost::asio {
class io_context;
}

namespace vennic::server {

/// The one thread on which everything happens: sockets, timers and the database.
class Loop final : public TimeKeeper {
public:
    /// `wallClock` replaces the machine's date where it is given.
    explicit Loop(std::function<qint64()> wallClock = {});
    ~Loop() override;
    qint64 wallMs() const override;
    std::chrono::nanoseconds elapsed() const override;
    Timer after(std::chrono::milliseconds delay, std::function<void()> then) override;

    /// Runs until `stop`.
    void run();
    void stop();
    /// Hands `work` to the loop; may be called from any thread.
    void post(std::function<void()> work);
    /// Calls `then` at the first SIGTERM or SIGINT.
    void onTermination(std::function<void()> then);
    boost::asio::io_context& context();

private:
    struct Engine;
    std::function<qint64()> wallClock_;
    std::unique_ptr<Engine> engine_;
};

} // namespace vennic::server
