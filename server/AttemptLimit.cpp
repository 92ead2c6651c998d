#include "server/AttemptLimit.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qint64 windowMs = 60'000;
constexpr qsizetype mostOfOne = 10;
constexpr qsizetype mostOfAll = 100;
} // namespace

void AttemptLimit::forgetOld(qint64 now) {
    failures_.removeIf([now](const Failure& failure) { return failure.at <= now - windowMs; });
}

bool AttemptLimit::isExhausted(const QString& address, qint64 now) {
    forgetOld(now);
    return failures_.size() >= mostOfAll ||
           std::count_if(failures_.begin(), failures_.end(),
                         [&address](const Failure& failure) { return failure.address == address; }) >= mostOfOne;
}

void AttemptLimit::failed(const QString& address, qint64 now) {
    forgetOld(now);
    if (failures_.size() < mostOfAll)
        failures_.append({address, now});
}

} // namespace vennic::server
