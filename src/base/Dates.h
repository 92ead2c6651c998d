#pragma once
#include <QDateTime>
#include <QString>

namespace vennic {

/// ISO 8601 in UTC with whole seconds, as in 2025-03-01T09:12:33Z (the date form of the bridge's wire).
QString iso8601(const QDateTime& moment);

/// Seconds since 2001-01-01T00:00:00Z, the date form of stored records.
double secondsSinceReference(const QDateTime& moment);
QDateTime fromSecondsSinceReference(double seconds);

} // namespace vennic
