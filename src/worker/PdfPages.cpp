#include "worker/PdfPages.h"

#include "worker/PdfFile.h"

#include <poppler-document.h>

namespace vennic::worker {

ReadResult readPdfPages(const Document& document, const wire::Parameters&) {
    const auto pdf = openPdf(document.bytes());
    if (!pdf || pdf->pages() < 1)
        return ReadResult::unparsable();
    return ReadResult::record(wire::PageCount{static_cast<std::uint32_t>(pdf->pages())});
}

ReadResult readPdfPageText(const Document& document, const wire::Parameters& parameters) {
    const auto pdf = openPdf(document.bytes());
    if (!pdf || parameters.page > wire::mostPages)
        return ReadResult::unparsable();
    std::string text = pdfPageText(*pdf, static_cast<int>(parameters.page));
    if (text.size() > wire::mostPdfTextBytes)
        return ReadResult::beyondBox();
    return {wire::Outcome::done, std::move(text), false};
}

} // namespace vennic::worker
