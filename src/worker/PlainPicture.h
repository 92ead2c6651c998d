#pragma once
#include "worker/Picture.h"

namespace vennic::worker {

/// Pictures of more pixels are worked on in grey: in colour they take four times the memory.
inline constexpr double mostColouredPixels = 32e6;

/// A picture of any depth, with a palette or an alpha channel or without, as one that is one bit deep, or eight bits of
/// grey, or 32 of red, green and blue; large ones lose their colours. What can be seen through is laid on white, or on
/// black where the rest is bright, since text on nothing would vanish on a ground of its own brightness.
Picture plainPicture(Picture picture);

} // namespace vennic::worker
