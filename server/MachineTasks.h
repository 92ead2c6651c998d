#pragma once
#include "server/Machines.h"
#include "server/TaskDesk.h"

#include <QJsonObject>

namespace vennic::server {

/// How a task that the server itself asked for ended.
struct TaskOutcome {
    std::optional<QJsonObject> result; // of a task that was done
    QString error;                     // else what was said
};

/// Asks an account's machine for a task and waits for its end. No task is asked for by somebody who has gone.
class MachineTasks {
public:
    MachineTasks(Machines& machines, TaskDesk& tasks, TaskStore& store, TimeKeeper& time)
        : machines_(machines), tasks_(tasks), store_(store), time_(time) {}

    /// `then` is called once, never from within this call, and not after the handle has gone. `streamed`, which may be
    /// empty, hears the pieces of a task that streams.
    [[nodiscard]] std::shared_ptr<void> ask(qint64 account, const QString& kind, const QJsonObject& args,
                                            std::function<void(TaskOutcome)> then,
                                            std::function<void(const QString&)> streamed = {});

private:
    struct Asked;
    /// The machine that polls, else the one that was here last; none when the account has none.
    std::optional<DeviceKey> machineOf(qint64 account);
    static TaskOutcome outcomeOf(const TaskRecord& task);

    Machines& machines_;
    TaskDesk& tasks_;
    TaskStore& store_;
    TimeKeeper& time_;
};

} // namespace vennic::server
