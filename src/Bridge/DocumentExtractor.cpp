#include "Bridge/DocumentExtractor.h"

#include "Bridge/ExtractorError.h"
#include "base/TextExtensions.h"

namespace vennic {

namespace {

constexpr qint64 largestFile = 10'485'760; // 10 MiB

} // namespace

ExtractedContent DocumentExtractor::extract(const FileURL& url, qint64 maxChars) const {
    const auto values = files_->values(url.path);
    if (values && values->size && *values->size > largestFile)
        throw ExtractorError::tooLarge(*values->size);
    const QString ext = url.pathExtension().toLower();
    const auto type = types_->typeForExtension(ext);
    const auto conforms = [&](const QString& ancestor) { return type && types_->conforms(*type, ancestor); };
    if (ext == u"pdf" || conforms(QStringLiteral("com.adobe.pdf")))
        return extractPDF(url, maxChars);
    if (ext == u"rtf" || conforms(QStringLiteral("public.rtf")))
        return extractRTF(url, maxChars);
    if (conforms(QStringLiteral("public.text")) || countsAsText(ext))
        return extractPlainText(url, maxChars);
    throw ExtractorError::unsupportedFormat(type.value_or(ext));
}

ExtractedContent DocumentExtractor::extractPDF(const FileURL& url, qint64 maxChars) const {
    try {
        DocumentText document = reader_->pdf(url.path, maxChars);
        const qint64 bytes = document.text.toUtf8().size();
        return {std::move(document.text), document.truncated, bytes};
    } catch (const DocumentReadError& error) {
        // A PDF that can't be opened and one that isn't any are one failure.
        throw ExtractorError::readFailed(error.fault() == DocumentFault::worker
                                             ? error.errorDescription()
                                             : QStringLiteral("PDFDocument init failed"));
    }
}

ExtractedContent DocumentExtractor::extractRTF(const FileURL& url, qint64 maxChars) const {
    try {
        DocumentText document = reader_->rtf(url.path, maxChars);
        return {std::move(document.text), document.truncated, document.fileBytes};
    } catch (const DocumentReadError& error) {
        throw ExtractorError::readFailed(error.fault() == DocumentFault::unparsable ? QStringLiteral("RTF parse failed")
                                                                                    : error.errorDescription());
    }
}

ExtractedContent DocumentExtractor::extractPlainText(const FileURL& url, qint64 maxChars) const {
    try {
        DocumentText document = reader_->plainText(url.path, maxChars);
        return {std::move(document.text), document.truncated, document.fileBytes};
    } catch (const DocumentReadError& error) {
        throw ExtractorError::readFailed(error.errorDescription());
    }
}

} // namespace vennic
