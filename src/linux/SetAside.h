#pragma once
#include <QString>

#include <optional>

namespace vennic {

/// Renames an SQLite file that can't be used, and its log, to a dated name beside it that tells the reason: both may
/// still be read by hand. The new name without its folder; none when the renaming failed.
std::optional<QString> setAside(const QString& path, const QString& reason);

} // namespace vennic
