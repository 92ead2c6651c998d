#pragma once
#include <QDateTime>

#include <chrono>

namespace vennic {

/// How long before `now` a moment was, in whole units and in words: "il y a 3 minutes". What lies ahead counts as now.
QString relativeDate(const QDateTime& moment, const QDateTime& now);

/// How long the words for a moment stay true at the least.
std::chrono::seconds relativeDateLasts(const QDateTime& moment, const QDateTime& now);

} // namespace vennic
