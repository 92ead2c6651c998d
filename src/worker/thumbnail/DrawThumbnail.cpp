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

bool hasTags(PictureForm form) {
    return form == PictureForm::png || form == PictureForm::jpeg || form == PictureForm::tiff ||
           form == PictureForm::webp;
}

} // namespace

Raster drawThumbnail(std::string_view bytes, int edge) {
    const PictureForm form = pictureForm(bytes);
    Raster picture = shrunk(decode(form, bytes, edge), edge);
    if (!picture || !hasTags(form))
        return picture;
    // The tags are worth a look at the end: most of what is asked has none, and the small picture is quick to convert.
    const PictureTags tags = readPictureTags(bytes);
    return upright(inSrgb(std::move(picture), tags.colourProfile), tags.orientation);
}

} // namespace vennic::worker
