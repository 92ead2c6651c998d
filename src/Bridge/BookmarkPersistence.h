#pragma once
#include "Bridge/BookmarkEntry.h"
#include "ports/KeyValueStore.h"

#include <vector>

namespace vennic {

/// The grants as they are kept: under "bridgeAllowedBookmarks", one binary value that holds a JSON array of objects
/// with "id" (upper-case UUID), "bookmarkData" (base64, RFC 4648), "displayName" and "addedAt" (seconds since
/// 2001-01-01T00:00:00Z).
class BookmarkPersistence {
public:
    explicit BookmarkPersistence(KeyValueStore& store) : store_(store) {}

    /// All grants in order of addition; none at all when the value is missing or one of them is damaged.
    std::vector<BookmarkEntry> load() const;
    void save(const std::vector<BookmarkEntry>& entries);

private:
    KeyValueStore& store_;
};

} // namespace vennic
