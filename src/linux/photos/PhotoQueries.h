#pragma once
#include "linux/photos/PhotoCatalogue.h"

#include <optional>
#include <string>
#include <vector>

namespace vennic::photos {

/// One photo as the catalogue knows it.
struct KnownPhoto {
    std::string identifier;
    std::string name;       // bytes
    std::int64_t taken = 0; // milliseconds since 1970, or `undated`
    PhotoFacts facts;
    // Only where one photo is asked for:
    std::vector<std::string> folder; // components from the root's absolute path on
    FileOnDisk disk;
};

/// The newest photos, those without a date last; with `from` and `until` (milliseconds since 1970) only those taken
/// from the one up to, and not including, the other. Opens the file for itself, so that it may run beside the library's
/// thread. Raises index::DatabaseError.
std::vector<KnownPhoto> newestPhotos(const std::string& catalogue, std::int64_t limit,
                                     std::optional<std::pair<std::int64_t, std::int64_t>> taken);
std::optional<KnownPhoto> photoOf(const std::string& catalogue, const std::string& identifier);

} // namespace vennic::photos
