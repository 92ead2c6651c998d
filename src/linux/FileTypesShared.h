#pragma once
#include "ports/FileTypes.h"

#include <QHash>

#include <mutex>

namespace vennic {

/// A table of public identifiers for common extensions, then what shared-mime-info says of the others.
///
/// The identifier of an extension outside the table is "dyn." and its UTF-8 bytes in lower-case base 32 (RFC 4648, no
/// padding). The system's MIME data is loaded when the kinship of such an identifier is first asked for.
class FileTypesShared final : public FileTypes {
public:
    /// None also for what can't be an extension: more than 64 UTF-16 units, a slash, a control character, half a
    /// surrogate pair.
    std::optional<QString> typeForExtension(const QString& extension) const override;
    /// For an extension outside the table, that of shared-mime-info with the greatest weight.
    std::optional<QString> mimeTypeForExtension(const QString& extension) const override;
    /// An identifier that nobody knows conforms to itself alone.
    bool conforms(const QString& type, const QString& ancestor) const override;
    QString typeForFile(const QString& name, bool isDirectory) const override;

private:
    QList<QLatin1String> parentsOfDynamic(const QString& type) const;

    mutable std::mutex mutex_;
    mutable QHash<QString, QList<QLatin1String>> dynamicParents_; // at most a few hundred
};

} // namespace vennic
