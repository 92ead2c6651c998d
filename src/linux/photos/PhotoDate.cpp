#include "linux/photos/PhotoDate.h"

namespace vennic::photos {

namespace {

constexpr int firstPhotograph = 1826;

QDateTime momentOf(const QDate& date, const QTime& time, const QTimeZone& zone) {
    QDateTime moment(date, time, zone);
    if (moment.isValid())
        return moment;
    // The clocks skipped this hour, and the camera's didn't: it still counted as before.
    const QDateTime before(date, time.addSecs(-2 * 3600), zone);
    return QDateTime(date, time, Qt::OffsetFromUTC, before.offsetFromUtc());
}

} // namespace

std::optional<QDateTime> writtenDate(const PhotoFacts& facts, const QTimeZone& zone) {
    if (facts.dated == 0 || facts.year < firstPhotograph)
        return std::nullopt;
    const QDate date(facts.year, facts.month, facts.day);
    const QTime time(facts.hour, facts.minute, facts.second, facts.millisecond);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    const QDateTime moment = facts.zoned != 0 ? QDateTime(date, time, Qt::OffsetFromUTC, facts.offsetMinutes * 60)
                                              : momentOf(date, time, zone);
    return moment.isValid() ? std::optional(moment.toUTC()) : std::nullopt;
}

QDateTime countsFrom(const QDateTime& written) { return written.addDays(-1); }

} // namespace vennic::photos
