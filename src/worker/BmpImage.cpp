#include "worker/BmpImage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <leptonica/allheaders.h>
#include <optional>

namespace vennic::worker {
namespace {

enum class Packing : std::uint32_t { none = 0, runs8 = 1, runs4 = 2, bitFields = 3, alphaBitFields = 6 };

/// Numbers of the file, little-endian; what lies beyond its end reads as 0.
class Bytes {
public:
    explicit Bytes(std::string_view bytes) : bytes_(bytes) {}
    std::uint32_t byte(std::size_t at) const { return at < bytes_.size() ? static_cast<std::uint8_t>(bytes_[at]) : 0; }
    std::uint32_t word(std::size_t at) const { return byte(at) | byte(at + 1) << 8; }
    std::uint32_t number(std::size_t at) const { return word(at) | word(at + 2) << 16; }
    std::size_t size() const { return bytes_.size(); }

private:
    std::string_view bytes_;
};

/// A channel inside a pixel of 16 or 32 bits.
struct Field {
    std::uint32_t mask = 0;

    std::uint32_t of(std::uint32_t pixel) const {
        if (mask == 0)
            return 0;
        const std::uint64_t most = mask >> std::countr_zero(mask);
        return static_cast<std::uint32_t>(std::uint64_t{(pixel & mask) >> std::countr_zero(mask)} * 255 / most);
    }
};

struct Header {
    int width = 0;
    int height = 0;
    bool topDown = false;
    std::uint32_t depth = 0;
    Packing packing = Packing::none;
    std::size_t pixelsAt = 0;
    std::array<l_uint32, 256> palette{};
    Field red, green, blue, alpha;

    bool isPaletted() const { return depth <= 8; }
    std::size_t bytesPerRow() const { return (static_cast<std::size_t>(width) * depth + 31) / 32 * 4; }
};

l_uint32 colour(std::uint32_t red, std::uint32_t green, std::uint32_t blue, std::uint32_t alpha) {
    return red << L_RED_SHIFT | green << L_GREEN_SHIFT | blue << L_BLUE_SHIFT | alpha << L_ALPHA_SHIFT;
}

bool isPossible(const Header& header) {
    constexpr int mostEdge = 32767; // more than the recogniser takes
    if (header.width < 1 || header.width > mostEdge || header.height < 1 || header.height > mostEdge)
        return false;
    switch (header.packing) {
    case Packing::none:
        return header.depth == 24 || (header.depth <= 32 && std::has_single_bit(header.depth));
    case Packing::runs8:
        return header.depth == 8 && !header.topDown;
    case Packing::runs4:
        return header.depth == 4 && !header.topDown;
    case Packing::bitFields:
    case Packing::alphaBitFields:
        return header.depth == 16 || header.depth == 32;
    }
    return false;
}

void readFields(const Bytes& bytes, std::uint32_t headerBytes, Header& header) {
    constexpr std::size_t fieldsAt = 54; // after a header of 40 bytes, inside a longer one
    constexpr std::uint32_t headerWithAlpha = 56;
    if (header.packing == Packing::none) {
        const bool is16 = header.depth == 16;
        header.red.mask = is16 ? 0x7c00 : 0xff0000;
        header.green.mask = is16 ? 0x03e0 : 0x00ff00;
        header.blue.mask = is16 ? 0x001f : 0x0000ff;
        return;
    }
    header.red.mask = bytes.number(fieldsAt);
    header.green.mask = bytes.number(fieldsAt + 4);
    header.blue.mask = bytes.number(fieldsAt + 8);
    if (headerBytes >= headerWithAlpha || header.packing == Packing::alphaBitFields)
        header.alpha.mask = bytes.number(fieldsAt + 12);
}

void readPalette(const Bytes& bytes, std::size_t at, std::size_t entryBytes, Header& header) {
    for (l_uint32& entry : header.palette) {
        if (at + entryBytes <= header.pixelsAt)
            entry = colour(bytes.byte(at + 2), bytes.byte(at + 1), bytes.byte(at), 255);
        at += entryBytes;
    }
}

std::optional<Header> readHeader(const Bytes& bytes) {
    constexpr std::size_t fileHeader = 14;
    constexpr std::uint32_t oldHeader = 12;
    constexpr std::uint32_t usualHeader = 40;
    const std::uint32_t headerBytes = bytes.number(fileHeader);
    Header header;
    header.pixelsAt = bytes.number(10);
    if (bytes.word(0) != 0x4d42 || header.pixelsAt < fileHeader + headerBytes || header.pixelsAt > bytes.size())
        return std::nullopt;
    std::int64_t height = 0;
    if (headerBytes == oldHeader) {
        header.width = static_cast<int>(bytes.word(18));
        height = bytes.word(20);
        header.depth = bytes.word(24);
    } else if (headerBytes >= usualHeader) {
        header.width = static_cast<std::int32_t>(bytes.number(18));
        height = static_cast<std::int32_t>(bytes.number(22));
        header.depth = bytes.word(28);
        header.packing = static_cast<Packing>(bytes.number(30));
    }
    header.topDown = height < 0;
    header.height = static_cast<int>(std::min<std::int64_t>(std::abs(height), 1 << 30));
    if (!isPossible(header))
        return std::nullopt;
    readFields(bytes, headerBytes, header);
    if (header.isPaletted())
        readPalette(bytes, fileHeader + headerBytes, headerBytes == oldHeader ? 3 : 4, header);
    return header;
}

/// The rows of the picture, counted from the file's first.
class Canvas {
public:
    Canvas(const Header& header, Pix* picture) : header_(header), picture_(picture) {}
    l_uint32* row(int number) const {
        const int fromTop = header_.topDown ? number : header_.height - 1 - number;
        return pixGetData(picture_) + static_cast<std::ptrdiff_t>(fromTop) * pixGetWpl(picture_);
    }

private:
    const Header& header_;
    Pix* picture_;
};

l_uint32 pixelAt(const Bytes& bytes, const Header& header, std::size_t row, std::uint32_t x) {
    if (header.isPaletted()) {
        const std::uint32_t bit = x * header.depth;
        const std::uint32_t shift = 8 - header.depth - bit % 8;
        return header.palette[bytes.byte(row + bit / 8) >> shift & ((1U << header.depth) - 1)];
    }
    const std::size_t at = row + std::size_t{x} * header.depth / 8;
    const std::uint32_t pixel = header.depth == 16   ? bytes.word(at)
                                : header.depth == 24 ? bytes.word(at) | bytes.byte(at + 2) << 16
                                                     : bytes.number(at);
    return colour(header.red.of(pixel), header.green.of(pixel), header.blue.of(pixel),
                  header.alpha.mask == 0 ? 255 : header.alpha.of(pixel));
}

bool readRows(const Bytes& bytes, const Header& header, const Canvas& canvas) {
    if ((bytes.size() - header.pixelsAt) / header.bytesPerRow() < static_cast<std::size_t>(header.height))
        return false;
    for (int y = 0; y < header.height; ++y) {
        l_uint32* const to = canvas.row(y);
        const std::size_t row = header.pixelsAt + static_cast<std::size_t>(y) * header.bytesPerRow();
        for (int x = 0; x < header.width; ++x)
            to[x] = pixelAt(bytes, header, row, static_cast<std::uint32_t>(x));
    }
    return true;
}

/// Pixels in the order of the runs; those beyond the picture's edges fall away.
class RunReader {
public:
    RunReader(const Bytes& bytes, const Header& header, const Canvas& canvas)
        : bytes_(bytes), header_(header), canvas_(canvas), at_(header.pixelsAt) {
        for (int y = 0; y < header.height; ++y)
            std::fill_n(canvas.row(y), header.width, header.palette[0]);
    }

    void read() {
        while (at_ + 1 < bytes_.size() && y_ < header_.height) {
            const std::uint32_t count = bytes_.byte(at_);
            const std::uint32_t value = bytes_.byte(at_ + 1);
            at_ += 2;
            if (count > 0)
                repeat(count, value);
            else if (!follow(value))
                return;
        }
    }

private:
    /// False at the end of the picture.
    bool follow(std::uint32_t escape) {
        switch (escape) {
        case 0:
            x_ = 0;
            ++y_;
            return true;
        case 1:
            return false;
        case 2:
            x_ = std::min(x_ + static_cast<int>(bytes_.byte(at_)), header_.width);
            y_ = std::min(y_ + static_cast<int>(bytes_.byte(at_ + 1)), header_.height);
            at_ += 2;
            return true;
        default:
            copy(escape);
            return true;
        }
    }

    std::uint32_t indexIn(std::uint32_t value, std::uint32_t number) const {
        return header_.depth == 8 ? value : number % 2 == 0 ? value >> 4 : value & 0xf;
    }
    void repeat(std::uint32_t count, std::uint32_t value) {
        for (std::uint32_t i = 0; i < count; ++i)
            put(indexIn(value, i));
    }
    void copy(std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i)
            put(indexIn(bytes_.byte(at_ + i * header_.depth / 8), i));
        at_ += (count * header_.depth + 15) / 16 * 2;
    }
    void put(std::uint32_t index) {
        if (x_ < header_.width && y_ < header_.height)
            canvas_.row(y_)[x_++] = header_.palette[index];
    }

    const Bytes& bytes_;
    const Header& header_;
    const Canvas& canvas_;
    std::size_t at_;
    int x_ = 0;
    int y_ = 0;
};

/// Many programs write an alpha channel of nothing and mean a picture that can be seen.
void setAlpha(Pix* picture, const Header& header) {
    bool isUsed = false;
    for (int y = 0; header.alpha.mask != 0 && y < header.height; ++y) {
        const l_uint32* const row = pixGetData(picture) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(picture);
        isUsed = isUsed || std::any_of(row, row + header.width,
                                       [](l_uint32 pixel) { return (pixel >> L_ALPHA_SHIFT & 0xff) != 0; });
    }
    pixSetSpp(picture, isUsed ? 4 : 3);
}

} // namespace

Picture decodeBmp(std::string_view file) {
    const Bytes bytes(file);
    const auto header = readHeader(bytes);
    if (!header)
        return nullptr;
    Picture picture(pixCreateNoInit(header->width, header->height, 32));
    if (!picture)
        return nullptr;
    const Canvas canvas(*header, picture.get());
    if (header->packing == Packing::runs8 || header->packing == Packing::runs4)
        RunReader(bytes, *header, canvas).read();
    else if (!readRows(bytes, *header, canvas))
        return nullptr;
    setAlpha(picture.get(), *header);
    return picture;
}

} // namespace vennic::worker
