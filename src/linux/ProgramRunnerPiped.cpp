#include "linux/ProgramRunnerPiped.h"

#include "base/Pool.h"
#include "linux/PipedProgram.h"

#include <condition_variable>
#include <memory>
#include <mutex>

namespace vennic {

namespace {

/// Hands pieces of output from the thread that reads to the main thread, one at a time: a program that writes without
/// an end takes no more memory than one piece does.
class HandOver : public std::enable_shared_from_this<HandOver> {
public:
    explicit HandOver(ProgramRunner::OnOutput onOutput) : onOutput_(std::move(onOutput)) {}

    /// The reader waits here until the piece has been heard, or `stop` says that nobody waits for the program.
    void give(QByteArray piece, const std::stop_token& stop) {
        std::unique_lock guard(lock_);
        heard_ = false;
        postToMain([self = shared_from_this(), piece = std::move(piece)] { self->take(piece); });
        isHeard_.wait(guard, stop, [this] { return heard_; });
    }

    /// Main thread: nothing is heard from now on.
    void stopListening() { listens_ = false; }

private:
    void take(const QByteArray& piece) {
        if (listens_)
            onOutput_(piece);
        const std::scoped_lock guard(lock_);
        heard_ = true;
        isHeard_.notify_one();
    }

    ProgramRunner::OnOutput onOutput_; // main thread only, as the next one
    bool listens_ = true;
    std::mutex lock_;
    std::condition_variable_any isHeard_;
    bool heard_ = false;
};

int runToItsEnd(const std::stop_token& stop, const ProgramCommand& command, const std::shared_ptr<HandOver>& output) {
    using End = PipedProgram::End;
    PipedProgram program(command);
    const auto hand = [&](QByteArray piece) { output->give(std::move(piece), stop); };
    const End end = program.hear(hand, stop);
    if (end == End::stopped)
        throw Cancelled();
    return end == End::signalled ? 128 + program.number() : program.number();
}

} // namespace

Task<int> ProgramRunnerPiped::run(ProgramCommand command, OnOutput onOutput) {
    struct Listening {
        std::shared_ptr<HandOver> output;
        ~Listening() { output->stopListening(); }
    };
    const Listening listening{std::make_shared<HandOver>(std::move(onOutput))};
    co_return co_await onPoolWaiting(runToItsEnd, std::move(command), listening.output);
}

} // namespace vennic
