#include "worker/PictureReaders.h"

#include "worker/ImageFile.h"
#include "worker/ImageText.h"
#include "worker/PdfFile.h"
#include "worker/PdfPagePicture.h"
#include "worker/PdfPages.h"
#include "worker/PhotoReader.h"
#include "worker/thumbnail/ThumbnailReader.h"

#include <array>

namespace vennic::worker {

void warmUpPictureReaders() {
    warmUpPdf();
    warmUpPhotos();
    warmUpThumbnails();
    warmUpPdfPictures();
    warmUpImages();
}

std::span<const Reader> pictureReaders() {
    static constexpr std::array<Reader, 6> readers{{
        {wire::Form::pdfPages, readPdfPages},
        {wire::Form::pdfPageText, readPdfPageText},
        {wire::Form::photoFacts, readPhotoFacts},
        {wire::Form::thumbnail, readThumbnail},
        {wire::Form::pdfPageScan, readPdfPageScan},
        {wire::Form::imageText, readImageText},
    }};
    return readers;
}

} // namespace vennic::worker
