#pragma once
#include <optional>
#include <string_view>

namespace vennic::worker {

/// Which entry of the palette means nothing at all in the first picture of a GIF file (GIF89a, 23. Graphic Control
/// Extension), of which Leptonica takes no notice.
std::optional<int> transparentColour(std::string_view gif);

} // namespace vennic::worker
