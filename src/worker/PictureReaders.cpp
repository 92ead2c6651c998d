#include "worker/PictureReaders.h"

#include "worker/PdfFile.h"
#include "worker/PdfPages.h"
#include "worker/PhotoReader.h"

#include <array>

namespace vennic::worker {

void warmUpPictureReaders() {
    warmUpPdf();
    warmUpPhotos();
}

std::span<const Reader> pictureReaders() {
    static constexpr std::array<Reader, 3> readers{{
        {wire::Form::pdfPages, readPdfPages},
        {wire::Form::pdfPageText, readPdfPageText},
        {wire::Form::photoFacts, readPhotoFacts},
    }};
    return readers;
}

} // namespace vennic::worker
