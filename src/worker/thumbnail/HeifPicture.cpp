#include "worker/thumbnail/PictureDecoders.h"

#include <libheif/heif.h>

namespace vennic::worker {
namespace {

template <auto release>
struct Release {
    void operator()(auto* object) const { release(object); }
};
using Context = std::unique_ptr<heif_context, Release<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Release<heif_image_handle_release>>;
using Image = std::unique_ptr<heif_image, Release<heif_image_release>>;

bool isGood(const heif_error& error) { return error.code == heif_error_Ok; }

/// The picture that a file is for, among those that it holds.
class Primary {
public:
    explicit Primary(std::string_view bytes) : context_(heif_context_alloc()) {
        heif_context_set_max_decoding_threads(context_.get(), 0); // in this thread
        heif_image_handle* handle = nullptr;
        if (isGood(heif_context_read_from_memory_without_copy(context_.get(), bytes.data(), bytes.size(), nullptr)) &&
            isGood(heif_context_get_primary_image_handle(context_.get(), &handle)))
            handle_.reset(handle);
    }
    /// Null when there is none.
    const heif_image_handle* handle() const { return handle_.get(); }

private:
    Context context_;
    Handle handle_;
};

Image decode(const heif_image_handle& handle, bool hasAlpha) {
    heif_image* image = nullptr;
    const heif_chroma chroma = hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    if (!isGood(heif_decode_image(&handle, &image, heif_colorspace_RGB, chroma, nullptr)))
        return nullptr;
    return Image(image);
}

std::uint32_t storedPixelOf(const std::uint8_t* from, bool hasAlpha) {
    const std::uint32_t alpha = hasAlpha ? from[3] : 255;
    return alpha << 24U | std::uint32_t{from[0]} << 16U | std::uint32_t{from[1]} << 8U | from[2];
}

} // namespace

std::string colourProfileOfHeif(std::string_view bytes) {
    const Primary primary(bytes);
    std::string profile(primary.handle() ? heif_image_handle_get_raw_color_profile_size(primary.handle()) : 0, '\0');
    if (!profile.empty() && !isGood(heif_image_handle_get_raw_color_profile(primary.handle(), profile.data())))
        profile.clear();
    return profile;
}

Raster rasterOfHeif(std::string_view bytes) {
    const Primary primary(bytes);
    const heif_image_handle* const handle = primary.handle();
    if (handle == nullptr || !Raster::canBe(heif_image_handle_get_width(handle), heif_image_handle_get_height(handle)))
        return {};
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle) != 0;
    const Image image = decode(*handle, hasAlpha);
    if (!image)
        return {};
    Raster raster(heif_image_get_width(image.get(), heif_channel_interleaved),
                  heif_image_get_height(image.get(), heif_channel_interleaved),
                  hasAlpha ? Raster::Kind::withAlpha : Raster::Kind::opaque);
    int stride = 0;
    const std::uint8_t* const plane = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    if (!raster || plane == nullptr)
        return {};
    const bool isStraight = hasAlpha && heif_image_is_premultiplied_alpha(image.get()) == 0;
    for (int y = 0; y < raster.height(); ++y) {
        const std::uint8_t* from = plane + static_cast<std::ptrdiff_t>(stride) * y;
        for (std::uint32_t& pixel : raster.row(y)) {
            pixel = isStraight ? pixelOf(from[0], from[1], from[2], from[3]) : storedPixelOf(from, hasAlpha);
            from += hasAlpha ? 4 : 3;
        }
    }
    return raster;
}

} // namespace vennic::worker
