#pragma once
#include "linux/worker/WorkerProcess.h"

#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
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
    /// came. From any thread.
    WorkerProcess::Reply ask(wire::Form form, const wire::Parameters& parameters, const OpenedDocument& document);
    /// Ends the process and fails every request, those to come too. From any thread.
    void close();

private:
    struct Job {
        wire::Form form;
        wire::Parameters parameters;
        const OpenedDocument* document; // the asker keeps it, and waits
        std::promise<WorkerProcess::Reply> reply;
    };

    void run();
    void answer(Job& job);
    WorkerProcess::Reply exchange(const Job& job);

    const DocumentWorkerOptions options_;
    FileDescriptor abandon_; // becomes readable when the lane is closed
    std::uint64_t lastNumber_ = 0;
    std::unique_ptr<WorkerProcess> process_; // the thread's own

    std::mutex guard_; // of what follows
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool closed_ = false;
    std::thread thread_;
};

} // namespace vennic
