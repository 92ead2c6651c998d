#include "linux/worker/WorkerLane.h"

#include "linux/worker/WorkerFailure.h"

#include <algorithm>
#include <sys/eventfd.h>

namespace vennic {
namespace {

WorkerFailure abandoned() {
    return {WorkerFailure::Cause::unavailable, QStringLiteral("La lecture du document a été abandonnée.")};
}

void raiseUnlessDone(const wire::Answer& answer, const QString& path) {
    switch (answer.outcome) {
    case wire::Outcome::done:
        return;
    case wire::Outcome::unreadable:
        throw DocumentReadError(DocumentFault::unreadable, unreadableSentence(path, answer.systemError));
    case wire::Outcome::tooLarge:
        throw DocumentReadError(DocumentFault::unreadable, tooLargeSentence(path));
    case wire::Outcome::beyondBox:
        throw WorkerFailure(WorkerFailure::Cause::document,
                            QStringLiteral("La lecture du document demande trop de mémoire."));
    case wire::Outcome::unavailable:
        throw WorkerFailure(WorkerFailure::Cause::unavailable,
                            QStringLiteral("Ce qu'il faut pour lire le document n'est pas installé."));
    case wire::Outcome::unparsable:
        break;
    }
    throw DocumentReadError(DocumentFault::unparsable, QStringLiteral("Le document n'a pas la forme attendue."));
}

FileDescriptor signal() { return FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }

void raise(const FileDescriptor& signal) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(signal.number(), &one, sizeof one);
}

void lower(const FileDescriptor& signal) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(signal.number(), &count, sizeof count);
}

} // namespace

WorkerLane::WorkerLane(DocumentWorkerOptions options)
    : options_(std::move(options)), abandon_(signal()), giveUp_(signal()) {}

WorkerLane::~WorkerLane() {
    close();
    if (thread_.joinable())
        thread_.join();
}

WorkerProcess::Reply WorkerLane::ask(wire::Form form, const wire::Parameters& parameters,
                                     const OpenedDocument& document, std::stop_token stop) {
    std::future<WorkerProcess::Reply> pending;
    std::uint64_t number = 0;
    {
        const std::lock_guard lock(guard_);
        if (closed_)
            throw abandoned();
        if (!thread_.joinable())
            thread_ = std::thread([this] { run(); });
        number = ++lastNumber_;
        jobs_.push_back({number, form, parameters, &document, {}});
        pending = jobs_.back().reply.get_future();
    }
    changed_.notify_one();
    const std::stop_callback onStop(std::move(stop), [this, number] { giveUp(number); });
    WorkerProcess::Reply reply = pending.get();
    raiseUnlessDone(reply.answer, document.path());
    return reply;
}

void WorkerLane::close() {
    {
        const std::lock_guard lock(guard_);
        closed_ = true;
    }
    raise(abandon_);
    changed_.notify_one();
}

/// One that waits is failed here; one that is at work fails in its wait. One that has been answered is neither.
void WorkerLane::giveUp(std::uint64_t job) {
    const std::lock_guard lock(guard_);
    if (atWork_ == job)
        raise(giveUp_);
    const auto waiting = std::ranges::find(jobs_, job, &Job::number);
    if (waiting == jobs_.end())
        return;
    waiting->reply.set_exception(std::make_exception_ptr(abandoned()));
    jobs_.erase(waiting);
}

void WorkerLane::run() {
    std::unique_lock lock(guard_);
    while (!closed_) {
        const auto isDue = [this] { return closed_ || !jobs_.empty(); };
        if (process_ == nullptr)
            changed_.wait(lock, isDue);
        else if (!changed_.wait_for(lock, options_.idleEnd, isDue))
            process_.reset();
        while (!closed_ && !jobs_.empty()) {
            Job job = std::move(jobs_.front());
            jobs_.pop_front();
            atWork_ = job.number;
            lock.unlock();
            answer(job);
            lock.lock();
            atWork_ = 0;
            lower(giveUp_); // asked for while the answer was on its way
        }
    }
    process_.reset();
    for (Job& job : jobs_)
        job.reply.set_exception(std::make_exception_ptr(abandoned()));
    jobs_.clear();
}

void WorkerLane::answer(Job& job) {
    try {
        job.reply.set_value(exchange(job));
    } catch (...) {
        process_.reset();
        job.reply.set_exception(std::current_exception());
    }
}

WorkerProcess::Reply WorkerLane::exchange(const Job& job) {
    const wire::Request request{
        .form = job.form, .number = job.number, .document = job.document->number(), .parameters = job.parameters};
    if (process_ != nullptr && !process_->isFit())
        process_.reset();
    while (true) {
        const bool isFresh = process_ == nullptr;
        if (isFresh)
            process_ = std::make_unique<WorkerProcess>(
                options_, WorkerProcess::Ends{.ofLane = abandon_.number(), .ofRequest = giveUp_.number()});
        const qint64 sizeBefore = job.document->size();
        if (process_->send(request, *job.document)) {
            WorkerProcess::Reply reply = process_->receive(request, *job.document, sizeBefore);
            // Its memory is spent, and it ends by itself behind this answer: the next request must not find it.
            if (reply.answer.outcome == wire::Outcome::beyondBox)
                process_.reset();
            return reply;
        }
        // A process that waited may die before the request reaches it, which is nobody's fault.
        process_.reset();
        if (isFresh)
            throw WorkerFailure(WorkerFailure::Cause::unavailable,
                                QStringLiteral("La lecture du document s'est interrompue."));
    }
}

} // namespace vennic
