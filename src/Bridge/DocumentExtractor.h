#pragma once
#include "Bridge/FileURL.h"
#include "ports/DocumentReader.h"
#include "ports/FileSystem.h"
#include "ports/FileTypes.h"

#include <memory>

namespace vennic {

struct ExtractedContent {
    QString text;
    bool truncated = false;
    qint64 bytesRead = 0; // of the file; for a PDF, the UTF-8 size of `text`
    bool operator==(const ExtractedContent&) const = default;
};

/// The plain text of a PDF, of RTF and of everything that counts as text; of nothing else. Any thread may use it.
class DocumentExtractor {
public:
    DocumentExtractor(std::shared_ptr<DocumentReader> reader, std::shared_ptr<FileTypes> types,
                      std::shared_ptr<FileSystem> files)
        : reader_(std::move(reader)), types_(std::move(types)), files_(std::move(files)) {}

    /// The first `maxChars` user-perceived characters of a file of at most 10 MiB; blocks. Raises ExtractorError.
    ExtractedContent extract(const FileURL& url, qint64 maxChars) const;

private:
    ExtractedContent extractPDF(const FileURL& url, qint64 maxChars) const;
    ExtractedContent extractRTF(const FileURL& url, qint64 maxChars) const;
    ExtractedContent extractPlainText(const FileURL& url, qint64 maxChars) const;

    std::shared_ptr<DocumentReader> reader_;
    std::shared_ptr<FileTypes> types_;
    std::shared_ptr<FileSystem> files_;
};

} // namespace vennic
