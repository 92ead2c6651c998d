#include "Bridge/OcrEngine.h"

#include "Bridge/OcrError.h"
#include "base/Task.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace vennic {

namespace {

constexpr qsizetype mostCharacters = qsizetype{16} * 1024 * 1024; // of a document; pages may share one long text

constexpr std::array imageExtensions{u"png", u"jpg", u"jpeg", u"heic", u"heif", u"tiff", u"tif", u"gif", u"bmp"};

/// What fails once it is told to stop says nothing of the document.
void endIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested())
        throw Cancelled();
}

/// The open document; null when it can't be opened or has no page.
std::unique_ptr<PdfPages> opened(TextRecognizer& recognizer, const QString& path, const std::stop_token& stop) {
    try {
        return recognizer.openPdf(path, stop);
    } catch (const DocumentReadError&) {
        return nullptr;
    }
}

QString layerOf(PdfPages& pages, qint64 page, const std::stop_token& stop) {
    try {
        return pages.text(page);
    } catch (const DocumentReadError&) { // its picture may still be readable
        endIfStopped(stop);
        return {};
    }
}

/// What one page has to say. The languages are those of a recognition: a text layer has none.
std::optional<RecognizedText> readPage(PdfPages& pages, qint64 page, const std::stop_token& stop) {
    try {
        const QString layer = layerOf(pages, page, stop);
        if (!layer.trimmed().isEmpty())
            return RecognizedText{layer, {}};
        return pages.recognize(page);
    } catch (const DocumentReadError&) {
        endIfStopped(stop);
        return std::nullopt; // one bad page doesn't fail the document
    }
}

} // namespace

BridgeOcrResult OcrEngine::recognize(const FileURL& url, const std::stop_token& stop) const {
    const auto values = files_->values(url.path);
    const qint64 bytesProcessed = values ? values->size.value_or(0) : 0;
    const QString ext = url.pathExtension().toLower();
    if (ext == u"pdf")
        return recognizePDF(url, bytesProcessed, stop);
    if (std::ranges::find(imageExtensions, QStringView(ext)) != imageExtensions.end())
        return recognizeImage(url, bytesProcessed, stop);
    throw OcrError::unsupported(ext);
}

BridgeOcrResult OcrEngine::recognizeImage(const FileURL& url, qint64 bytesProcessed,
                                          const std::stop_token& stop) const {
    try {
        const RecognizedText found = recognizer_->image(url.path, stop);
        return {.text = found.text, .languages = found.languages, .bytes_processed = bytesProcessed};
    } catch (const DocumentReadError& error) {
        endIfStopped(stop);
        throw OcrError::visionFailure(error.fault() == DocumentFault::worker
                                          ? error.errorDescription()
                                          : QStringLiteral("impossible de charger l'image"));
    }
}

BridgeOcrResult OcrEngine::recognizePDF(const FileURL& url, qint64 bytesProcessed, const std::stop_token& stop) const {
    const auto pages = opened(*recognizer_, url.path, stop);
    endIfStopped(stop);
    if (!pages)
        throw OcrError::noPages();
    QStringList parts;
    qsizetype characters = 0;
    QSet<QString> languages;
    const auto end = now_() + mostTime;
    for (qint64 page = 0; page < pages->count() && now_() < end; ++page) {
        const auto found = readPage(*pages, page, stop);
        endIfStopped(stop);
        if (found && !found->text.isEmpty())
            parts.append(found->text);
        characters += found ? found->text.size() : 0;
        if (characters > mostCharacters)
            throw OcrError::visionFailure(QStringLiteral("le texte du document est trop long"));
        if (found)
            languages.unite(QSet<QString>(found->languages.begin(), found->languages.end()));
    }
    QStringList sorted = languages.values();
    sorted.sort();
    return {.text = parts.join(QStringLiteral("\n\f\n")), .languages = sorted, .bytes_processed = bytesProcessed};
}

} // namespace vennic
