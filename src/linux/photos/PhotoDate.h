#pragma once
#include "base/PhotoFacts.h"

#include <QDateTime>
#include <QTimeZone>

#include <optional>

namespace vennic::photos {

/// The moment that a photo says it was taken: by the zone that it tells, else by `zone`. None for a photo without a
/// date and for dates that can't be: no such day, and before there was photography.
std::optional<QDateTime> writtenDate(const PhotoFacts& facts, const QTimeZone& zone);

/// From when on such a moment is believed: nobody photographs the future, but a camera's clock may be of another zone.
QDateTime countsFrom(const QDateTime& written);

} // namespace vennic::photos
