#pragma once
#include "base/PhotoFacts.h"
#include "worker/Reader.h"

#include <string_view>

namespace vennic::worker {

/// Loads what the reader would otherwise load from disk in the middle of its first photo.
void warmUpPhotos();

/// What a picture's bytes say of it, EXIF (CIPA DC-008) included. A picture whose EXIF is missing, unreadable or
/// without sense is a picture without a date or a place.
PhotoFacts photoFacts(std::string_view bytes);

/// The same as a form of the boxed program.
ReadResult readPhotoFacts(const Document& document, const wire::Parameters& parameters);

} // namespace vennic::worker
