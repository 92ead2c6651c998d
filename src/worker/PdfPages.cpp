#include "worker/PdfPages.h"

#include "worker/PdfFile.h"
#include "worker/PdfPagePicture.h"
#include "worker/TextRecognition.h"

#include <poppler-document.h>

namespace vennic::worker {
namespace {

/// The PDF that was opened last stays open, since the pages of one are asked for one after another.
const poppler::document* opened(const Document& document) {
    static Document source;
    static std::unique_ptr<poppler::document> pdf;
    if (!pdf || !source.isSameAs(document)) {
        pdf.reset(); // before its bytes
        source = document;
        pdf = openPdf(source.bytes());
    }
    return pdf.get();
}

const poppler::document* openedAt(const Document& document, std::uint32_t page) {
    return page > wire::mostPages ? nullptr : opened(document);
}

} // namespace

ReadResult readPdfPages(const Document& document, const wire::Parameters&) {
    const auto* const pdf = opened(document);
    if (pdf == nullptr || pdf->pages() < 1)
        return ReadResult::unparsable();
    return ReadResult::record(wire::PageCount{static_cast<std::uint32_t>(pdf->pages())});
}

ReadResult readPdfPageText(const Document& document, const wire::Parameters& parameters) {
    const auto* const pdf = openedAt(document, parameters.page);
    auto text = pdf != nullptr ? pdfPageText(*pdf, static_cast<int>(parameters.page)) : std::nullopt;
    if (!text)
        return ReadResult::unparsable();
    if (text->size() > wire::mostPdfTextBytes)
        return ReadResult::beyondBox();
    return {wire::Outcome::done, *std::move(text), false};
}

ReadResult readPdfPageScan(const Document& document, const wire::Parameters& parameters) {
    const auto* const pdf = openedAt(document, parameters.page);
    if (pdf == nullptr)
        return ReadResult::unparsable();
    Picture picture = pictureOfPdfPage(*pdf, static_cast<int>(parameters.page), wire::recognitionDpi);
    return picture ? recognizedText(std::move(picture)) : ReadResult::beyondBox();
}

} // namespace vennic::worker
