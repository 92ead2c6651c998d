#include "base/Dates.h"

#include <QTimeZone>

#include <cmath>

namespace vennic {

namespace {
constexpr qint64 referenceEpochMs = 978'307'200'000; // 2001-01-01T00:00:00Z
}

QString iso8601(const QDateTime& moment) { return moment.toUTC().toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"); }

double secondsSinceReference(const QDateTime& moment) {
    return static_cast<double>(moment.toMSecsSinceEpoch() - referenceEpochMs) / 1000.0;
}

QDateTime fromSecondsSinceReference(double seconds) {
    return QDateTime::fromMSecsSinceEpoch(referenceEpochMs + std::llround(seconds * 1000.0), Qt::UTC);
}

} // namespace vennic
