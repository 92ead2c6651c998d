#pragma once
#include "worker/Reader.h"

namespace vennic::worker {

/// Loads what the decoders would otherwise load from disk in the middle of their first picture.
void warmUpThumbnails();

/// A small picture of what a document shows, as a PNG. Unparsable where there is nothing to draw: the document is of no
/// form that has a picture, or damaged, or too large.
ReadResult readThumbnail(const Document& document, const wire::Parameters& parameters);

} // namespace vennic::worker
