#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic::server {

/// The machine that a task is for.
struct DeviceKey {
    qint64 account = 0;
    QString device;
    bool operator==(const DeviceKey&) const = default;
    bool operator<(const DeviceKey& other) const {
        return account != other.account ? account < other.account : device < other.device;
    }
};

enum class TaskState { Queued, Delivered, Streaming, Done, Error, Timeout };

QLatin1String stateName(TaskState state);
TaskState stateNamed(const QString& name);
inline bool isFinished(TaskState state) { return state >= TaskState::Done; }

/// One task from its asking to its answer. Moments are milliseconds since 1970.
struct TaskRecord {
    qint64 number = 0; // order of asking
    QString id;
    DeviceKey key;
    QString kind;
    QByteArray args; // a JSON object, or null where none was given
    TaskState state = TaskState::Queued;
    int deliveries = 0;
    QByteArray result; // a JSON object, or null
    std::optional<QString> errorMessage;
    qint64 createdAt = 0;
    std::optional<qint64> deliveredAt;
    std::optional<qint64> lastSignAt; // delivery or last streamed piece
    std::optional<qint64> answeredAt;
    std::optional<double> handledMs;
    qint64 streamBytes = 0;
    qint64 streamCount = 0;
};

} // namespace vennic::server
