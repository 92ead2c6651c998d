#pragma once
#include "server/TaskRecord.h"

#include <QStringList>

namespace vennic::server {

/// A moment in ISO 8601, UTC, with milliseconds.
QString isoMoment(qint64 milliseconds);
/// The whole of a task as the owner sees it.
QByteArray taskJson(const TaskRecord& task, const QStringList& stream);
/// The same without result and stream, for lists.
QByteArray taskSummaryJson(const TaskRecord& task);

} // namespace vennic::server
