#include "Bridge/SubPath.h"

namespace vennic {

std::optional<SubPath> SubPath::parse(const QString& text) {
    QStringList pieces = text.split(u'/', Qt::SkipEmptyParts);
    if (text.startsWith(u'/') || pieces.contains(QLatin1String("..")))
        return std::nullopt;
    return SubPath(std::move(pieces));
}

std::optional<FileURL> SubPath::below(const FileURL& root) const {
    FileURL target = root;
    for (const QString& piece : pieces_)
        target = target.appendingPathComponent(piece);
    if (!target.standardized().isOrLiesUnder(root.standardized()))
        return std::nullopt;
    return target;
}

} // namespace vennic
