#pragma once
#include "ports/DocumentReadError.h"

#include <QString>

namespace vennic {

/// Text taken from a document. `text` is already cut to the asked number of user-perceived characters.
struct DocumentText {
    QString text;
    bool truncated = false;
    qint64 fileBytes = 0; // size of the file that was read
    bool operator==(const DocumentText&) const = default;
};

/// Reads documents that nobody vetted, in a boxed process. Each operation blocks, takes an absolute path and the
/// most user-perceived characters to give back, may be called from several threads, and raises DocumentReadError.
/// A `maxChars` of 0 or less gives an empty text, truncated when the document has any.
class DocumentReader {
public:
    virtual ~DocumentReader() = default;
    /// UTF-8, else UTF-16, else ISO Latin 1, without a byte order mark; an empty text when none decodes.
    virtual DocumentText plainText(const QString& path, qint64 maxChars) = 0;
    /// The plain string of an RTF document.
    virtual DocumentText rtf(const QString& path, qint64 maxChars) = 0;
    /// The texts of the pages that have one, from the first on, each followed by a newline unless it reaches
    /// `maxChars`, which ends the reading.
    virtual DocumentText pdf(const QString& path, qint64 maxChars) = 0;
};

} // namespace vennic
