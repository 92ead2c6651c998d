#include "linux/photos/PictureType.h"

namespace vennic::photos {

bool mayBePhoto(const QString& name, const FileTypes& types) {
    return types.conforms(types.typeForFile(name, false), QStringLiteral("public.image"));
}

QString typeIdentifier(PictureFormat format) {
    switch (format) {
    case PictureFormat::jpeg:
        return QStringLiteral("public.jpeg");
    case PictureFormat::png:
        return QStringLiteral("public.png");
    case PictureFormat::gif:
        return QStringLiteral("com.compuserve.gif");
    case PictureFormat::tiff:
        return QStringLiteral("public.tiff");
    case PictureFormat::webp:
        return QStringLiteral("org.webmproject.webp");
    case PictureFormat::heic:
        return QStringLiteral("public.heic");
    case PictureFormat::heif:
        return QStringLiteral("public.heif");
    case PictureFormat::avif:
        return QStringLiteral("public.avif");
    case PictureFormat::bmp:
        return QStringLiteral("com.microsoft.bmp");
    case PictureFormat::raw:
        return QStringLiteral("public.camera-raw-image");
    case PictureFormat::none:
        break;
    }
    return QStringLiteral("public.data");
}

} // namespace vennic::photos
