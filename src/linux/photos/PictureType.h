#pragma once
#include "base/PhotoFacts.h"
#include "ports/FileTypes.h"

namespace vennic::photos {

/// Whether a file of that name may be a photo, which its content then decides.
bool mayBePhoto(const QString& name, const FileTypes& types);

/// The public type identifier of a picture of that format.
QString typeIdentifier(PictureFormat format);

} // namespace vennic::photos
