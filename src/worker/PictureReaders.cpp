#include "worker/PictureReaders.h"

#include "worker/ImageFile.h"
#include "worker/ImageText.h"
#include "worker/PdfFile.h"
#include "worker/PdfPagePicture.h"
#include "worker/PdfPages.h"

#include <array>

namespace vennic::worker {

void warmUpPictureReaders() {
    warmUpPdf();
    warmUpPdfPictures();
    warmUpImages();
}

std::span<const Reader> pictureReaders() {
    static constexpr std::array<Reader, 4> readers{{
        {wire::Form::pdfPages, readPdfPages},
        {wire::Form::pdfPageText, readPdfPageText},
        {wire::Form::pdfPageScan, readPdfPageScan},
        {wire::Form::imageText, readImageText},
    }};
    return readers;
}

} // namespace vennic::worker
