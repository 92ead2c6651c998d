#include "worker/thumbnail/PictureDecoders.h"

#include <algorithm>
#include <cstring>

namespace vennic::worker {
namespace {

cairo_status_t give(void* closure, unsigned char* data, unsigned length) {
    auto& left = *static_cast<std::string_view*>(closure);
    if (length > left.size())
        return CAIRO_STATUS_READ_ERROR;
    std::memcpy(data, left.data(), length);
    left.remove_prefix(length);
    return CAIRO_STATUS_SUCCESS;
}

/// ISO/IEC 15948, 11.2.2: the header chunk comes first.
bool hasBearableSize(std::string_view bytes) {
    constexpr std::size_t sizes = 16;
    if (bytes.size() < sizes + 8)
        return false;
    const auto number = [bytes](std::size_t at) {
        std::int64_t value = 0;
        for (const char byte : bytes.substr(at, 4))
            value = value << 8 | static_cast<unsigned char>(byte);
        return value;
    };
    return Raster::canBe(number(sizes), number(sizes + 4));
}

} // namespace

Raster rasterOfPng(std::string_view bytes) {
    if (!hasBearableSize(bytes))
        return {};
    return Raster(cairo_image_surface_create_from_png_stream(give, &bytes));
}

} // namespace vennic::worker
