#pragma once
#include "linux/worker/WorkerProcess.h"

#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace vennic {

/// One document process and the thread that keeps it: starts it, gives it one request after another, ends it when it
/// misbehaves or nobody has asked for a while. The thread lives as long as the lane, since the system ends the process
/// with the thread that started it.
class WorkerLane {
public:
    explicit WorkerLane(DocumentWorkerOptions options);
    ~WorkerLane();
    Q_DISABLE_COPY_MOVE(WorkerLane)

    /// Blocks until the document's body is there, checked. Raises DocumentReadError, and WorkerFailure where no answer
    /// came: soon after `stop` asks for it, too, which ends the process if it is at work on this request. From any
    /// thread.
    WorkerProcess::Reply ask(wire::Form form, const wire::Parameters& parameters, const OpenedDocument& document,
                             std::stop_token stop = {});
    /// Ends the process and fails every request, those to come too. From any thread.
    void close();

private:
    struct Job {
        std::uint64_t number; // also of its request
        wire::Form form;
        wire::Parameters parameters;
        const OpenedDocument* document; // the asker keeps it, and waits
        std::promise<WorkerProcess::Reply> reply;
    };

    void giveUp(std::uint64_t job);
    void run();
    void answer(Job& job);
    WorkerProcess::Reply exchange(const Job& job);

    const DocumentWorkerOptions options_;
    FileDescriptor abandon_;                 // becomes readable when the lane is closed
    FileDescriptor giveUp_;                  // is readable when nobody waits any more for the job at work
    std::unique_ptr<WorkerProcess> process_; // the thread's own

    std::mutex guard_; // of what follows
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    std::uint64_t lastNumber_ = 0;
    std::uint64_t atWork_ = 0; // number of the job that the process has got, 0 for none
    bool closed_ = false;
    std::thread thread_;
};

} // namespace vennic
