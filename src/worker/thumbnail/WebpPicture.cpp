#include "worker/thumbnail/PictureDecoders.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <webp/decode.h>
#include <webp/demux.h>

namespace vennic::worker {
namespace {

struct DestroyAnimation {
    void operator()(WebPAnimDecoder* decoder) const { WebPAnimDecoderDelete(decoder); }
};

Raster::Kind kindOf(bool hasAlpha) { return hasAlpha ? Raster::Kind::withAlpha : Raster::Kind::opaque; }

Raster decodeStill(std::string_view bytes, WebPDecoderConfig& config, int edge) {
    const int width = config.input.width;
    const int height = config.input.height;
    const int wanted = 2 * edge; // from which the square can still be shrunk well
    const double shrunk = std::min(1.0, static_cast<double>(wanted) / std::max(width, height));
    const auto side = [shrunk](int length) { return std::max(1, static_cast<int>(length * shrunk)); };
    Raster raster(side(width), side(height), kindOf(config.input.has_alpha != 0));
    if (!raster)
        return {};
    config.options.use_scaling = raster.width() != width || raster.height() != height ? 1 : 0;
    config.options.scaled_width = raster.width();
    config.options.scaled_height = raster.height();
    config.output.colorspace = MODE_bgrA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = reinterpret_cast<std::uint8_t*>(raster.row(0).data());
    config.output.u.RGBA.stride = raster.width() * 4;
    config.output.u.RGBA.size =
        static_cast<std::size_t>(raster.width()) * static_cast<std::size_t>(raster.height()) * 4;
    const auto* const data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return WebPDecode(data, bytes.size(), &config) == VP8_STATUS_OK ? std::move(raster) : Raster();
}

Raster decodeFirstFrame(std::string_view bytes, const WebPBitstreamFeatures& features) {
    Raster raster(features.width, features.height, kindOf(features.has_alpha != 0));
    WebPAnimDecoderOptions options;
    if (!raster || WebPAnimDecoderOptionsInit(&options) == 0)
        return {};
    options.color_mode = MODE_bgrA;
    options.use_threads = 0;
    const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
    const std::unique_ptr<WebPAnimDecoder, DestroyAnimation> decoder(WebPAnimDecoderNew(&data, &options));
    std::uint8_t* frame = nullptr; // the decoder's own
    int time = 0;
    if (!decoder || WebPAnimDecoderGetNext(decoder.get(), &frame, &time) == 0)
        return {};
    const auto pixels = static_cast<std::size_t>(raster.width()) * static_cast<std::size_t>(raster.height());
    std::memcpy(raster.row(0).data(), frame, pixels * sizeof(std::uint32_t));
    return raster;
}

} // namespace

Raster rasterOfWebp(std::string_view bytes, int edge) {
    static_assert(std::endian::native == std::endian::little); // of MODE_bgrA
    const auto* const data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0 || WebPGetFeatures(data, bytes.size(), &config.input) != VP8_STATUS_OK)
        return {};
    return config.input.has_animation != 0 ? decodeFirstFrame(bytes, config.input) : decodeStill(bytes, config, edge);
}

} // namespace vennic::worker
