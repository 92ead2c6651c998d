#include "server/TaskStore.h"

#include "server/Database.h"

#include <array>

namespace vennic::server {

namespace {
constexpr std::array stateNames{QLatin1String("queued"), QLatin1String("delivered"), QLatin1String("streaming"),
                                QLatin1String("done"),   QLatin1String("error"),     QLatin1String("timeout")};

#define TASK_COLUMNS                                                                                                   \
    "SELECT number, id, account_id, device_id, kind, args, state, deliveries, result, error_message, created_at, "     \
    "delivered_at, last_sign_at, answered_at, handled_ms, stream_bytes, stream_count FROM tasks "

TaskRecord record(const Query& row) {
    TaskRecord task;
    task.number = row.integer(0);
    task.id = row.text(1);
    task.key = {row.integer(2), row.text(3)};
    task.kind = row.text(4);
    if (!row.isNull(5))
        task.args = row.bytes(5);
    task.state = stateNamed(row.text(6));
    task.deliveries = static_cast<int>(row.integer(7));
    if (!row.isNull(8))
        task.result = row.bytes(8);
    task.errorMessage = row.maybeText(9);
    task.createdAt = row.integer(10);
    task.deliveredAt = row.maybeInteger(11);
    task.lastSignAt = row.maybeInteger(12);
    task.answeredAt = row.maybeInteger(13);
    if (!row.isNull(14))
        task.handledMs = row.real(14);
    task.streamBytes = row.integer(15);
    task.streamCount = row.integer(16);
    return task;
}

QList<TaskRecord> records(Query query) {
    QList<TaskRecord> tasks;
    while (query.next())
        tasks.append(record(query));
    return tasks;
}

std::optional<TaskRecord> first(Query query) { return query.next() ? std::optional(record(query)) : std::nullopt; }
} // namespace

QLatin1String stateName(TaskState state) { return stateNames.at(static_cast<std::size_t>(state)); }

TaskState stateNamed(const QString& name) {
    for (std::size_t i = 0; i < stateNames.size(); ++i) {
        if (stateNames.at(i) == name)
            return static_cast<TaskState>(i);
    }
    throw DatabaseError(QStringLiteral("La base de données contient un état de tâche inconnu."));
}

void TaskStore::insert(TaskRecord& task) {
    Query query = database_.query("INSERT INTO tasks(id, account_id, device_id, kind, args, state, created_at) "
                                  "VALUES(?, ?, ?, ?, ?, ?, ?) RETURNING number",
                                  task.id, task.key.account, task.key.device, task.kind, task.args,
                                  QString(stateName(task.state)), task.createdAt);
    query.next();
    task.number = query.integer(0);
    query.next();
}

void TaskStore::update(const TaskRecord& task) {
    database_.run("UPDATE tasks SET state = ?, deliveries = ?, result = ?, error_message = ?, delivered_at = ?, "
                  "last_sign_at = ?, answered_at = ?, handled_ms = ? WHERE number = ?",
                  QString(stateName(task.state)), task.deliveries, task.result, task.errorMessage, task.deliveredAt,
                  task.lastSignAt, task.answeredAt, task.handledMs, task.number);
}

std::optional<TaskRecord> TaskStore::find(const QString& id) {
    return first(database_.query(TASK_COLUMNS "WHERE id = ?", id));
}

std::optional<TaskRecord> TaskStore::oldestQueued(const DeviceKey& key) {
    return first(database_.query(TASK_COLUMNS "WHERE account_id = ? AND device_id = ? AND state IN ('queued', "
                                              "'delivered', 'streaming') AND state = 'queued' ORDER BY number LIMIT 1",
                                 key.account, key.device));
}

QList<TaskRecord> TaskStore::unanswered(const DeviceKey& key) {
    return records(database_.query(TASK_COLUMNS
                                   "WHERE account_id = ? AND device_id = ? AND state IN ('queued', 'delivered', "
                                   "'streaming') AND state <> 'queued' ORDER BY number",
                                   key.account, key.device));
}

QList<TaskRecord> TaskStore::allUnanswered() {
    return records(database_.query(
        TASK_COLUMNS "WHERE state IN ('queued', 'delivered', 'streaming') AND state <> 'queued' ORDER BY number"));
}

QList<TaskRecord> TaskStore::unfinished(const DeviceKey& key) {
    return records(database_.query(TASK_COLUMNS "WHERE account_id = ? AND device_id = ? AND state IN ('queued', "
                                                "'delivered', 'streaming') ORDER BY number",
                                   key.account, key.device));
}

qint64 TaskStore::countUnfinished(const DeviceKey& key) {
    Query query = database_.query("SELECT count(*) FROM tasks WHERE account_id = ? AND device_id = ? AND state IN "
                                  "('queued', 'delivered', 'streaming')",
                                  key.account, key.device);
    query.next();
    return query.integer(0);
}

QList<TaskRecord> TaskStore::newest(qint64 account, qint64 limit) {
    return records(database_.query(
        "SELECT number, id, account_id, device_id, kind, CASE WHEN length(args) <= 8192 THEN args END, state, "
        "deliveries, NULL, error_message, created_at, delivered_at, last_sign_at, answered_at, handled_ms, "
        "stream_bytes, stream_count FROM tasks WHERE account_id = ? ORDER BY number DESC LIMIT ?",
        account, limit));
}

void TaskStore::appendDelta(TaskRecord& task, const QString& delta) {
    Transaction transaction(database_);
    database_.run("INSERT INTO deltas(task, position, delta) VALUES(?, ?, ?)", task.number, task.streamCount, delta);
    const qint64 bytes = task.streamBytes + delta.toUtf8().size();
    database_.run("UPDATE tasks SET state = ?, last_sign_at = ?, stream_bytes = ?, stream_count = ? WHERE number = ?",
                  QString(stateName(task.state)), task.lastSignAt, bytes, task.streamCount + 1, task.number);
    transaction.commit();
    task.streamBytes = bytes;
    ++task.streamCount;
}

QStringList TaskStore::deltas(const TaskRecord& task) {
    QStringList found;
    Query query = database_.query("SELECT delta FROM deltas WHERE task = ? ORDER BY position", task.number);
    while (query.next())
        found.append(query.text(0));
    return found;
}

void TaskStore::forgetDeltas(const TaskRecord& task) {
    database_.run("DELETE FROM deltas WHERE task = ?", task.number);
    database_.run("UPDATE tasks SET stream_bytes = 0, stream_count = 0 WHERE number = ?", task.number);
}

void TaskStore::prune(qint64 account, qint64 count, qint64 bytes) {
    // The running sum goes from the newest to the oldest; everything past a ceiling goes.
    database_.run(
        "DELETE FROM tasks WHERE number IN (SELECT number FROM (SELECT number, "
        "row_number() OVER newest AS place, sum(ifnull(length(result), 0) + ifnull(length(args), 0) + stream_bytes) "
        "OVER newest AS total FROM tasks WHERE account_id = ? AND state IN ('done', 'error', 'timeout') "
        "WINDOW newest AS (ORDER BY number DESC)) WHERE place > ? OR (total > ? AND place > 1))",
        account, count, bytes);
}

} // namespace vennic::server
