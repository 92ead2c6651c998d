#pragma once
#include "ports/DocumentReader.h"

namespace vennic {

enum class DocumentForm { plainText, rtf, pdf };

/// Reads documents that its caller has opened, so that no name has to be followed a second time.
class OpenDocumentReader {
public:
    virtual ~OpenDocumentReader() = default;
    /// As DocumentReader reads a path; `descriptor` stays the caller's, `name` stands in sentences. Blocks. Raises
    /// DocumentReadError, and WorkerFailure where the fault is the reader's.
    virtual DocumentText readOpen(DocumentForm form, int descriptor, const QString& name, qint64 maxChars) = 0;
    /// Whether the reader has been told to end: what fails from then on says nothing of the document.
    virtual bool isEnding() const = 0;
};

} // namespace vennic
