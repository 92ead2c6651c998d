#pragma once
#include "Bridge/FileURL.h"

#include <QDateTime>

#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

namespace vennic {

/// One hit of a search.
struct SearchResult {
    FileURL url;
    QString name;
    QString mime;    // or the type identifier where no MIME type is known
    qint64 size = 0; // bytes, 0 when unknown
    std::optional<QDateTime> modifiedAt;
    bool isRemote = false;
    QString parentDisplay; // the home directory written "~"
    bool operator==(const SearchResult&) const = default;
};

/// A moment to sort by: an absent date is older than any other.
inline qint64 sortingMoment(const SearchResult& result) {
    return result.modifiedAt ? result.modifiedAt->toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

/// Three times a limit where that is more: the room that a pass leaves for sorting.
inline qint64 raisedLimit(qint64 limit) {
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    if (limit <= 0)
        return limit;
    return limit > most / 3 ? most : 3 * limit;
}

/// Keeps the first `limit` elements; none when it is 0 or less.
template <class T>
void keepFirst(std::vector<T>& elements, qint64 limit) {
    const auto size = static_cast<qint64>(elements.size());
    if (size > limit)
        elements.erase(elements.begin() + std::max<qint64>(limit, 0), elements.end());
}

} // namespace vennic
