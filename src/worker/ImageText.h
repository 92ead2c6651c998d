#pragma once
#include "worker/Reader.h"

namespace vennic::worker {

/// The text that is recognised in an image file. Unparsable when no picture can be made of it.
ReadResult readImageText(const Document& document, const wire::Parameters& parameters);

} // namespace vennic::worker
