#include "worker/GifTransparency.h"

#include <cstddef>
#include <cstdint>

namespace vennic::worker {
namespace {

/// Walks through the blocks of the file; beyond its end there are only zeros.
class Blocks {
public:
    explicit Blocks(std::string_view gif) : gif_(gif) {
        constexpr std::size_t flagsAt = 10;
        constexpr std::size_t screenBytes = 13;
        const std::uint8_t flags = byte(flagsAt);
        const std::size_t paletteBytes = (flags & 0x80) != 0 ? std::size_t{6} << (flags & 7) : 0;
        at_ = screenBytes + paletteBytes;
    }

    std::uint8_t byte(std::size_t at) const { return at < gif_.size() ? static_cast<std::uint8_t>(gif_[at]) : 0; }
    bool isExtension() const { return byte(at_) == 0x21; }
    bool isGraphicControl() const { return byte(at_ + 1) == 0xf9 && byte(at_ + 2) == 4; }
    bool hasTransparentColour() const { return (byte(at_ + 3) & 1) != 0; }
    int transparentColour() const { return byte(at_ + 6); }
    void skipExtension() {
        at_ += 2;
        while (byte(at_) != 0)
            at_ += std::size_t{1} + byte(at_);
        ++at_;
    }

private:
    std::string_view gif_;
    std::size_t at_ = 0;
};

} // namespace

std::optional<int> transparentColour(std::string_view gif) {
    std::optional<int> colour;
    for (Blocks blocks(gif); blocks.isExtension(); blocks.skipExtension()) {
        if (blocks.isGraphicControl())
            colour = blocks.hasTransparentColour() ? std::optional(blocks.transparentColour()) : std::nullopt;
    }
    return colour;
}

} // namespace vennic::worker
