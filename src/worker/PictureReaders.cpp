#include "worker/PictureReaders.h"

#include "worker/PdfFile.h"
#include "worker/PdfPages.h"
#include "worker/thumbnail/ThumbnailReader.h"

#include <array>

namespace vennic::worker {

void warmUpPictureReaders() {
    warmUpPdf();
    warmUpThumbnails();
}

std::span<const Reader> pictureReaders() {
    static constexpr std::array<Reader, 3> readers{{
        {wire::Form::pdfPages, readPdfPages},
        {wire::Form::pdfPageText, readPdfPageText},
        {wire::Form::thumbnail, readThumbnail},
    }};
    return readers;
}

} // namespace vennic::worker
