#include "worker/thumbnail/DrawThumbnail.h"

#include "worker/thumbnail/Colours.h"
#include "worker/thumbnail/Finish.h"
#include "worker/thumbnail/PictureDecoders.h"
#include "worker/thumbnail/PictureForm.h"
#include "worker/thumbnail/PictureTags.h"

namespace vennic::worker {
namespace {

Raster decode(PictureForm form, std::string_view bytes, int edge) {
    switch (form) {
    case PictureForm::png:
        return rasterOfPng(bytes);
    case PictureForm::jpeg:
        return rasterOfJpeg(bytes, edge);
    case PictureForm::gif:
        return rasterOfGif(bytes);
    case PictureForm::bmp:
        return rasterOfBmp(bytes);
    case PictureForm::tiff:
        return rasterOfTiff(bytes);
    case PictureForm::webp:
        return rasterOfWebp(bytes, edge);
    case PictureForm::heif:
        return rasterOfHeif(bytes);
    case PictureForm::svg:
        return rasterOfSvg(bytes, edge);
    case PictureForm::pdf:
        return rasterOfPdf(bytes, edge);
    case PictureForm::none:
        break;
    }
    return {};
}

PictureTags tagsOf(PictureForm form, std::string_view bytes) {
    switch (form) {
    case PictureForm::png:
    case PictureForm::jpeg:
    case PictureForm::tiff:
    case PictureForm::webp:
        return readPictureTags(bytes);
    case PictureForm::heif:
        return {.orientation = 1, .colourProfile = colourProfileOfHeif(bytes)};
    default:
        return {};
    }
}

} // namespace

Raster drawThumbnail(std::string_view bytes, int edge) {
    const PictureForm form = pictureForm(bytes);
    Raster picture = shrunk(decode(form, bytes, edge), edge);
    // What the tags ask for is done last, on the small picture.
    const PictureTags tags = picture ? tagsOf(form, bytes) : PictureTags();
    return upright(inSrgb(std::move(picture), tags.colourProfile), tags.orientation);
}

} // namespace vennic::worker
