#pragma once
#include "worker/Picture.h"

#include <string_view>

namespace vennic::worker {

/// How a JPEG or PNG file says that its picture is to be turned, by the number of Exif 2.32 (4.6.4, Orientation): 1 as
/// it is stored, 2 to 8 mirrored or turned. 1 where it says nothing that makes sense.
int imageOrientation(std::string_view bytes);

/// The picture as its orientation wants it to be seen.
Picture upright(Picture picture, int orientation);

} // namespace vennic::worker
