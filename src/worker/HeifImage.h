#pragma once
#include "worker/Picture.h"

#include <string_view>

namespace vennic::worker {

/// Loads the decoders.
void warmUpHeif();

/// Whether the bytes begin as a HEIC or HEIF file does.
bool isHeif(std::string_view bytes);

/// The primary picture of a HEIC or HEIF file, turned and cropped as it says: in colour, 32 bits deep, or, a
/// large one, in 8 bits of grey. Null when there is none.
Picture heifImage(std::string_view bytes);

} // namespace vennic::worker
