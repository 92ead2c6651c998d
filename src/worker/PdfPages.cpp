#include "worker/PdfPages.h"

#include "worker/PdfFile.h"
#include "worker/PdfPagePicture.h"
#include "worker/TextRecognition.h"

#include <poppler-document.h>

namespace vennic::worker {
namespace {

/// A PDF that was opened. It is opened once more for drawing, when the first of its pages has to be recognised.
struct OpenedPdf {
    Document source;
    std::unique_ptr<poppler::document> texts;
    std::unique_ptr<PdfDrawing> drawing;
};

/// The one that was opened last stays open, since the pages of one are asked for one after another.
OpenedPdf& opened(const Document& document) {
    static OpenedPdf pdf;
    if (!pdf.texts || !pdf.source.isSameAs(document)) {
        pdf.drawing.reset(); // before its bytes
        pdf.texts.reset();
        pdf.source = document;
        pdf.texts = openPdf(pdf.source.bytes());
    }
    return pdf;
}

OpenedPdf* openedAt(const Document& document, std::uint32_t page) {
    OpenedPdf* const pdf = page > wire::mostPages ? nullptr : &opened(document);
    return pdf != nullptr && pdf->texts ? pdf : nullptr;
}

} // namespace

ReadResult readPdfPages(const Document& document, const wire::Parameters&) {
    const auto& pdf = opened(document).texts;
    if (!pdf || pdf->pages() < 1)
        return ReadResult::unparsable();
    return ReadResult::record(wire::PageCount{static_cast<std::uint32_t>(pdf->pages())});
}

ReadResult readPdfPageText(const Document& document, const wire::Parameters& parameters) {
    const OpenedPdf* const pdf = openedAt(document, parameters.page);
    auto text = pdf != nullptr ? pdfPageText(*pdf->texts, static_cast<int>(parameters.page)) : std::nullopt;
    if (!text)
        return ReadResult::unparsable();
    if (text->size() > wire::mostPdfTextBytes)
        return ReadResult::beyondBox();
    return {wire::Outcome::done, *std::move(text), false};
}

ReadResult readPdfPageScan(const Document& document, const wire::Parameters& parameters) {
    OpenedPdf* const pdf = openedAt(document, parameters.page);
    if (pdf == nullptr)
        return ReadResult::unparsable();
    if (!pdf->drawing)
        pdf->drawing = std::make_unique<PdfDrawing>(pdf->source.bytes());
    const int page = static_cast<int>(parameters.page);
    if (!pdf->drawing->hasPage(page))
        return ReadResult::unparsable();
    Picture picture = pdf->drawing->page(page, wire::recognitionDpi);
    return picture ? recognizedText(std::move(picture)) : ReadResult::beyondBox();
}

} // namespace vennic::worker
