#include "worker/HeifImage.h"

#include <algorithm>
#include <leptonica/allheaders.h>
#include <libheif/heif.h>
#include <limits>

namespace vennic::worker {
namespace {

template <class Thing, void (*release)(Thing*)>
struct Release {
    void operator()(Thing* thing) const { release(thing); }
};

void releaseHandle(heif_image_handle* handle) { heif_image_handle_release(handle); }
void releaseImage(heif_image* image) { heif_image_release(image); }

using Context = std::unique_ptr<heif_context, Release<heif_context, heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Release<heif_image_handle, releaseHandle>>;
using Image = std::unique_ptr<heif_image, Release<heif_image, releaseImage>>;

bool isGood(const heif_error& error) { return error.code == heif_error_Ok; }

Image decodePrimary(heif_context* context) {
    heif_image_handle* handle = nullptr;
    if (!isGood(heif_context_get_primary_image_handle(context, &handle)))
        return nullptr;
    const Handle kept(handle);
    heif_image* image = nullptr;
    if (!isGood(heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr)))
        return nullptr;
    return Image(image);
}

Picture pictureOf(const heif_image* image) {
    int stride = 0;
    const std::uint8_t* const plane = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image, heif_channel_interleaved);
    const int height = heif_image_get_height(image, heif_channel_interleaved);
    if (plane == nullptr || width <= 0 || height <= 0 || stride / 3 < width)
        return nullptr;
    Picture picture(pixCreateNoInit(width, height, 32));
    if (!picture)
        return nullptr;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* from = plane + static_cast<std::ptrdiff_t>(y) * stride;
        l_uint32* const to = pixGetData(picture.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(picture.get());
        for (int x = 0; x < width; ++x, from += 3)
            composeRGBPixel(from[0], from[1], from[2], to + x);
    }
    return picture;
}

} // namespace

void warmUpHeif() {
    // Newer versions load their decoders from files at this call, older ones when they are first needed.
    const Context context(heif_context_alloc());
}

bool isHeif(std::string_view bytes) {
    constexpr std::size_t longestMark = 64;
    return heif_check_filetype(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                               static_cast<int>(std::min(bytes.size(), longestMark))) != heif_filetype_no;
}

Picture heifImage(std::string_view bytes) {
    const Context context(heif_context_alloc());
    if (!context)
        return nullptr;
    heif_context_set_max_decoding_threads(context.get(), 0);
    if (!isGood(heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr)))
        return nullptr;
    const Image image = decodePrimary(context.get());
    return image ? pictureOf(image.get()) : nullptr;
}

} // namespace vennic::worker
