#pragma once
#include "Bridge/FileURL.h"

#include <optional>

namespace vennic {

/// The way from a shared folder down to one of the folders in it, as the backend names it: "", "Reçus/2024".
class SubPath {
public:
    /// None for a text that begins with a slash and for one with ".." among its pieces. Empty pieces are dropped.
    static std::optional<SubPath> parse(QStringView text);

    /// The pieces with a slash between them; empty for the shared folder itself.
    const QString& normalized() const { return normalized_; }
    /// The folder that it leads to; none when it lies neither at `root` nor under it once both are standardised.
    /// Symbolic links are not followed.
    std::optional<FileURL> below(const FileURL& root) const;

private:
    explicit SubPath(QString normalized) : normalized_(std::move(normalized)) {}
    QString normalized_;
};

} // namespace vennic
