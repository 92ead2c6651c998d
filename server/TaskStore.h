#pragma once
#include "server/TaskRecord.h"

#include <QList>
#include <QStringList>

namespace vennic::server {

class Database;

/// The tasks on disk. Every change is there when the call returns. Raises DatabaseError.
class TaskStore {
public:
    explicit TaskStore(Database& database) : database_(database) {}

    /// Files a new task; gives it its number.
    void insert(TaskRecord& task);
    void update(const TaskRecord& task);
    std::optional<TaskRecord> find(const QString& id);
    std::optional<TaskRecord> oldestQueued(const DeviceKey& key);
    /// Delivered to that machine and not answered.
    QList<TaskRecord> unanswered(const DeviceKey& key);
    QList<TaskRecord> allUnanswered();
    QList<TaskRecord> unfinished(const DeviceKey& key);
    qint64 countUnfinished(const DeviceKey& key);
    /// The account's newest first; without results, and without arguments of more than 8 KiB.
    QList<TaskRecord> newest(qint64 account, qint64 limit);
    /// Appends to the stream and counts it in the record.
    void appendDelta(TaskRecord& task, const QString& delta);
    QStringList deltas(const TaskRecord& task);
    void forgetDeltas(const TaskRecord& task);
    /// Removes the oldest finished tasks of the account past `count` of them or `bytes` of results and streams.
    void prune(qint64 account, qint64 count, qint64 bytes);

private:
    Database& database_;
};

} // namespace vennic::server
