#include "worker/BmpImage.h"
#include "worker/GifTransparency.h"

#include <cstdint>

// Whatever the bytes: a picture or none, and no harm. The walk through a GIF's blocks rides along.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    vennic::worker::decodeBmp(bytes);
    vennic::worker::transparentColour(bytes);
    return 0;
}
