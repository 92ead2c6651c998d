#pragma once
#include "server/TaskStore.h"
#include "server/TimeKeeper.h"

#include <map>
#include <vector>

namespace vennic::server {

/// How a poll ends.
struct PollEnd {
    enum class Why { Task, Nothing, Revoked } why = Why::Nothing;
    TaskRecord task; // with Why::Task
    /// To be told whether the task's last byte was handed to the socket.
    std::function<void(bool sent)> written;
};

/// Brings tasks to machines and answers back. A machine gets its oldest task first, and one at a time.
///
/// A machine handles one task at a time and never answers later, so one that polls while a task of its is unanswered
/// has lost that answer: a repeatable task is delivered once more, any other ends as timed out, because it may have
/// had its effect. For the same reason a task counts as delivered on disk before its first byte is sent.
class TaskDesk {
public:
    /// A slow kind of task is given ten times `taskTimeout` for its first sign.
    TaskDesk(TaskStore& store, TimeKeeper& time, std::chrono::milliseconds taskTimeout);
    ~TaskDesk();

    /// Files a task and delivers it if its machine is waiting. Raises HttpError 429 when too many wait already.
    TaskRecord submit(const DeviceKey& key, const QString& kind, const QByteArray& args);

    /// Waits for the machine's next task; an earlier poll of the machine ends with nothing. The number names the poll
    /// to `abandon`; `end` is called once, perhaps before this returns, and never after `abandon`.
    quint64 poll(const DeviceKey& key, qint64 token, std::chrono::milliseconds wait, std::function<void(PollEnd)> end);
    void abandon(quint64 poll);
    bool isPolling(const DeviceKey& key) const { return polls_.contains(key); }

    /// The machine's words on its task. Raise HttpError: 403 another machine's, 404 unknown, 409 finished or never
    /// delivered; streamed only: 409 back in the queue, 413 more than a stream may hold.
    void streamed(const DeviceKey& key, const QString& id, const QString& delta);
    void succeeded(const DeviceKey& key, const QString& id, const QByteArray& result, std::chrono::nanoseconds arrived);
    void failed(const DeviceKey& key, const QString& id, const QString& message, std::chrono::nanoseconds arrived);

    /// Ends a task that waits to be delivered, so that it has no effect later. Any other is left alone.
    void withdraw(const QString& id);

    /// Ends the machine's polls and tasks: it is no longer one of the account's.
    void dismiss(const DeviceKey& key);
    /// Ends the polls that came with this token.
    void endPolls(qint64 token);
    void endAllPolls();

    /// What happens to one task: a piece of stream, or (null) a new state.
    using Watcher = std::function<void(const QString* delta)>;
    /// Watches until the last copy goes.
    [[nodiscard]] std::shared_ptr<void> watch(const QString& id, Watcher watcher);

private:
    struct Poll;
    struct Flight;
    void resolveUnanswered(const DeviceKey& key);
    void offer(const DeviceKey& key);
    void deliver(TaskRecord task);
    void written(const QString& id, quint64 flight, bool sent);
    void finish(TaskRecord task, TaskState state);
    void answered(TaskRecord task, TaskState state, std::chrono::nanoseconds arrived);
    std::chrono::milliseconds patience(const TaskRecord& task) const;
    void expect(const TaskRecord& task, std::chrono::milliseconds limit);
    void expired(const QString& id);
    TaskRecord deliveredTask(const DeviceKey& key, const QString& id);
    void endPoll(const DeviceKey& key, PollEnd end);
    void tell(const QString& id, const QString* delta);

    TaskStore& store_;
    TimeKeeper& time_;
    std::chrono::milliseconds taskTimeout_;
    quint64 lastNumber_ = 0;
    int finishedSincePruning_ = 0;
    qint64 bytesSincePruning_ = 0;
    std::map<DeviceKey, std::unique_ptr<Poll>> polls_;
    std::map<QString, Flight> flights_; // of the delivered and unanswered tasks
    std::multimap<QString, std::weak_ptr<Watcher>> watchers_;
};

} // namespace vennic::server
