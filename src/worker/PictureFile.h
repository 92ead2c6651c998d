#pragma once
#include "base/PhotoFacts.h"

#include <string_view>

namespace vennic::worker {

/// The format of a picture by its first bytes and its frame, if it is all there: a file that ends before its picture
/// does has none. What is inside the frame isn't looked at.
PictureFormat pictureFormat(std::string_view bytes);

} // namespace vennic::worker
