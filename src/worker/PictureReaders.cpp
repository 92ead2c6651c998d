#include "worker/PictureReaders.h"

#include "worker/PdfFile.h"
#include "worker/PdfPages.h"

#include <array>

namespace vennic::worker {

void warmUpPictureReaders() { warmUpPdf(); }

std::span<const Reader> pictureReaders() {
    static constexpr std::array<Reader, 2> readers{{
        {wire::Form::pdfPages, readPdfPages},
        {wire::Form::pdfPageText, readPdfPageText},
    }};
    return readers;
}

} // namespace vennic::worker
