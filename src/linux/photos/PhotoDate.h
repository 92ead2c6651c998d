#pragma once
#include "base/PhotoFacts.h"

#include <QDateTime>
#include <QTimeZone>

#include <optional>

namespace vennic::photos {

/// The moment that a photo was taken: by the zone that it tells, else by `zone`. None for a photo without a date and
/// for dates without sense: before there was photography, and more than a day after `now`.
std::optional<QDateTime> creationDate(const PhotoFacts& facts, const QTimeZone& zone, const QDateTime& now);

} // namespace vennic::photos
