#include "server/EventPieces.h"

#include <algorithm>

namespace vennic::server {

QString EventPieces::take(const QString& delta) {
    held_ += delta;
    qsizetype at = held_.size();
    while (at > 0 && (held_.at(at - 1) == u'\n' || held_.at(at - 1) == u'\r'))
        --at;
    at = std::max<qsizetype>(at - 1, 0);
    if (at > 0 && held_.at(at).isLowSurrogate())
        --at;
    const QString ready = held_.left(at);
    held_ = held_.mid(at);
    return ready;
}

} // namespace vennic::server
