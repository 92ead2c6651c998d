#include "Bridge/SubPath.h"

#include <QStringTokenizer>

namespace vennic {

std::optional<SubPath> SubPath::parse(QStringView text) {
    if (text.startsWith(u'/'))
        return std::nullopt;
    QString normalized;
    for (const QStringView piece : text.tokenize(u'/', Qt::SkipEmptyParts)) {
        if (piece == u"..")
            return std::nullopt;
        if (!normalized.isEmpty())
            normalized += u'/';
        normalized += piece;
    }
    return SubPath(std::move(normalized));
}

std::optional<FileURL> SubPath::below(const FileURL& root) const {
    FileURL target = normalized_.isEmpty() ? root : root.appendingPathComponent(normalized_);
    if (!target.standardized().isOrLiesUnder(root.standardized()))
        return std::nullopt;
    return target;
}

} // namespace vennic
