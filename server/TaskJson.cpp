#include "server/TaskJson.h"

#include "server/JsonText.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

namespace vennic::server {

namespace {
QByteArray orNull(const QByteArray& json) { return json.isNull() ? QByteArray("null") : json; }

QByteArray moment(const std::optional<qint64>& milliseconds) {
    return milliseconds ? jsonLiteral(isoMoment(*milliseconds)) : QByteArray("null");
}

// Without its closing brace.
QByteArray openJson(const TaskRecord& task) {
    return "{\"id\":" + jsonLiteral(task.id) + ",\"device_id\":" + jsonLiteral(task.key.device) +
           ",\"kind\":" + jsonLiteral(task.kind) + ",\"args\":" + orNull(task.args) + ",\"state\":\"" +
           stateName(task.state).latin1() +
           "\",\"error_message\":" + (task.errorMessage ? jsonLiteral(*task.errorMessage) : QByteArray("null")) +
           ",\"deliveries\":" + QByteArray::number(task.deliveries) +
           ",\"created_at\":" + jsonLiteral(isoMoment(task.createdAt)) +
           ",\"delivered_at\":" + moment(task.deliveredAt) + ",\"answered_at\":" + moment(task.answeredAt) +
           ",\"handled_ms\":" + (task.handledMs ? QByteArray::number(*task.handledMs, 'f', 3) : QByteArray("null"));
}
} // namespace

QString isoMoment(qint64 milliseconds) {
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC).toString(Qt::ISODateWithMs);
}

QByteArray taskJson(const TaskRecord& task, const QStringList& stream) {
    return openJson(task) + ",\"result\":" + orNull(task.result) +
           ",\"stream\":" + QJsonDocument(QJsonArray::fromStringList(stream)).toJson(QJsonDocument::Compact) + '}';
}

QByteArray taskSummaryJson(const TaskRecord& task) { return openJson(task) + '}'; }

} // namespace vennic::server
