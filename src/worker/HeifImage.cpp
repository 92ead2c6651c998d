#include "worker/HeifImage.h"

#include "worker/PlainPicture.h"

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

Handle primaryOf(heif_context* context) {
    heif_image_handle* handle = nullptr;
    return Handle(isGood(heif_context_get_primary_image_handle(context, &handle)) ? handle : nullptr);
}

bool isLarge(const heif_image_handle* handle) {
    return double{1} * heif_image_handle_get_width(handle) * heif_image_handle_get_height(handle) > mostColouredPixels;
}

Image decoded(const heif_image_handle* handle, heif_colorspace colours, heif_chroma chroma) {
    heif_image* image = nullptr;
    return Image(isGood(heif_decode_image(handle, &image, colours, chroma, nullptr)) ? image : nullptr);
}

struct Plane {
    int stride = 0; // before what finds it out
    const std::uint8_t* bytes = nullptr;
    int width = 0;
    int height = 0;

    Plane(const heif_image* image, heif_channel channel, int bytesPerPixel)
        : bytes(heif_image_get_plane_readonly(image, channel, &stride)), width(heif_image_get_width(image, channel)),
          height(heif_image_get_height(image, channel)) {
        if (width <= 0 || height <= 0 || stride / bytesPerPixel < width)
            bytes = nullptr;
    }
    bool isAsLargeAs(const Plane& other) const {
        return other.bytes != nullptr && width == other.width && height == other.height;
    }
    const std::uint8_t* row(int y) const { return bytes + static_cast<std::ptrdiff_t>(y) * stride; }
};

l_uint32* rowOf(const Picture& picture, int y) {
    return pixGetData(picture.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(picture.get());
}

Picture colourPicture(const heif_image* image) {
    const Plane plane(image, heif_channel_interleaved, 3);
    Picture picture(plane.bytes == nullptr ? nullptr : pixCreateNoInit(plane.width, plane.height, 32));
    for (int y = 0; picture && y < plane.height; ++y) {
        const std::uint8_t* from = plane.row(y);
        l_uint32* const to = rowOf(picture, y);
        for (int x = 0; x < plane.width; ++x, from += 3)
            composeRGBPixel(from[0], from[1], from[2], to + x);
    }
    return picture;
}

bool hasBytesIn(const heif_image* image, heif_channel channel) {
    return heif_image_has_channel(image, channel) != 0 && heif_image_get_bits_per_pixel_range(image, channel) == 8;
}

/// The brightness as it is stored, or of planes of red, green and blue, which a picture of tiles comes in.
Picture greyPicture(const heif_image* image) {
    const bool isStored = hasBytesIn(image, heif_channel_Y);
    if (!isStored &&
        !(hasBytesIn(image, heif_channel_R) && hasBytesIn(image, heif_channel_G) && hasBytesIn(image, heif_channel_B)))
        return nullptr;
    const Plane red(image, isStored ? heif_channel_Y : heif_channel_R, 1);
    const Plane green(image, isStored ? heif_channel_Y : heif_channel_G, 1);
    const Plane blue(image, isStored ? heif_channel_Y : heif_channel_B, 1);
    const bool isWhole = red.bytes != nullptr && red.isAsLargeAs(green) && red.isAsLargeAs(blue);
    Picture picture(isWhole ? pixCreateNoInit(red.width, red.height, 8) : nullptr);
    for (int y = 0; picture && y < red.height; ++y) {
        for (int x = 0; x < red.width; ++x) {
            // ITU-R BT.601, in 256ths; of three times the same, it is that.
            const int sum = 77 * red.row(y)[x] + 150 * green.row(y)[x] + 29 * blue.row(y)[x];
            SET_DATA_BYTE(rowOf(picture, y), x, static_cast<l_uint8>(sum / 256));
        }
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
    const Handle handle = primaryOf(context.get());
    if (!handle)
        return nullptr;
    if (isLarge(handle.get())) {
        const Image image = decoded(handle.get(), heif_colorspace_undefined, heif_chroma_undefined);
        return image ? greyPicture(image.get()) : nullptr;
    }
    const Image image = decoded(handle.get(), heif_colorspace_RGB, heif_chroma_interleaved_RGB);
    return image ? colourPicture(image.get()) : nullptr;
}

} // namespace vennic::worker
