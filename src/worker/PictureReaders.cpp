#include "worker/PictureReaders.h"

#include "worker/PdfFile.h"
#include "worker/PdfPages.h"
#include "worker/PhotoReader.h"
#include "worker/thumbnail/ThumbnailReader.h"

#include <array>

namespace vennic::worker {

void warmUpPictureReaders() {
    warmUpPdf();
    warmUpPhotos();
    warmUpThumbnails();
}

std::span<const Reader> pictureReaders() {
    static constexpr std::array<Reader, 4> readers{{
        {wire::Form::pdfPages, readPdfPages},
        {wire::Form::pdfPageText, readPdfPageText},
        {wire::Form::photoFacts, readPhotoFacts},
        {wire::Form::thumbnail, readThumbnail},
    }};
    return readers;
}

} // namespace vennic::worker
