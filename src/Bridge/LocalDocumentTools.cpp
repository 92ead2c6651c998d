#include "Bridge/LocalDocumentTools.h"

#include "Bridge/LocalLinks.h"
#include "Bridge/LocalToolText.h"
#include "base/Dates.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qint64 usualHits = 10;
constexpr qint64 leastHits = 1;
constexpr qint64 mostHits = 50;
constexpr qint64 usualChars = 8000;
constexpr qint64 leastChars = 500;
constexpr qint64 mostChars = 10'000;

QString hitLine(qsizetype number, const SharedFolderSearch::Hit& hit) {
    const SearchResult& result = hit.result;
    return QString::number(number) + QStringLiteral(". ") + result.name + QStringLiteral(" — ") + result.parentDisplay +
           (result.isRemote ? QStringLiteral(" (iCloud)") : QString()) + QStringLiteral(", ") + kilobytes(result.size) +
           QStringLiteral(" KB, modified ") +
           (result.modifiedAt ? iso8601(*result.modifiedAt) : QStringLiteral("unknown")) + QStringLiteral(" (open: ") +
           documentLink + hit.id + u')';
}

QString documentId(const LocalToolArguments& arguments) {
    return arguments.text(QLatin1String("document_id")).value_or(QString());
}

} // namespace

Task<QString> LocalDocumentTools::searchLocalDocuments(LocalToolArguments arguments) {
    const qint64 limit = arguments.integer(QLatin1String("limit")).value_or(usualHits);
    const auto found =
        co_await search_.search(arguments.text(QLatin1String("query")).value_or(QString()),
                                arguments.texts(QLatin1String("folder_hints")), std::clamp(limit, leastHits, mostHits));
    if (!found)
        co_return noFoldersGranted();
    if (found->hits.empty())
        co_return QStringLiteral("No local documents matched.");
    QStringList lines;
    for (const SharedFolderSearch::Hit& hit : found->hits)
        lines.append(hitLine(lines.size() + 1, hit));
    co_return lines.join(u'\n');
}

Task<QString> LocalDocumentTools::readLocalDocument(LocalToolArguments arguments) const {
    const qint64 asked = arguments.integer(QLatin1String("max_chars")).value_or(usualChars);
    auto extract = [extractor = extractor_, maxChars = std::clamp(asked, leastChars, mostChars)](
                       const FileURL& url, const std::stop_token&) { return extractor.extract(url, maxChars); };
    try {
        ExtractedContent content = co_await documents_.use(documentId(arguments), std::move(extract));
        if (content.truncated)
            content.text += QStringLiteral("\n\n[Document truncated — ask for a specific section.]");
        co_return content.text;
    } catch (const Cancelled&) {
        throw;
    } catch (const SharedDocumentError& error) {
        co_return error.errorDescription();
    } catch (const std::exception& error) {
        co_return QStringLiteral("Read failed: ") + localizedDescription(error);
    }
}

Task<QString> LocalDocumentTools::ocrLocalImage(LocalToolArguments arguments) const {
    auto recognize = [engine = engine_](const FileURL& url, const std::stop_token& stop) {
        return engine.recognize(url, stop);
    };
    try {
        const BridgeOcrResult result = co_await documents_.use(documentId(arguments), std::move(recognize));
        co_return result.text.isEmpty() ? QStringLiteral("No text recognised in this document.") : result.text;
    } catch (const Cancelled&) {
        throw;
    } catch (const SharedDocumentError& error) {
        co_return error.errorDescription();
    } catch (const std::exception& error) {
        co_return QStringLiteral("OCR failed: ") + localizedDescription(error);
    }
}

} // namespace vennic
