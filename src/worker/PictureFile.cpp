#include "worker/PictureFile.h"

#include "worker/ByteReader.h"
#include "worker/TiffFile.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace vennic::worker {
namespace {

using namespace std::string_view_literals;

// ITU-T T.81, annex B: segments up to the scan, then entropy-coded data up to the end-of-image mark.
bool jpegIsWhole(const ByteReader& file) {
    constexpr unsigned startOfScan = 0xda;
    std::size_t at = 2;
    bool framed = false;
    while (file.has(at, 4)) {
        if (file.byte(at) != 0xff)
            return false;
        const unsigned mark = file.byte(at + 1);
        if (mark == 0xff) { // fill
            ++at;
            continue;
        }
        const bool isFrame = mark >= 0xc0 && mark <= 0xcf && mark != 0xc4 && mark != 0xc8 && mark != 0xcc;
        if (isFrame)
            framed = file.has(at, 9) && file.big16(at + 5) != 0 && file.big16(at + 7) != 0;
        const std::size_t length = file.big16(at + 2);
        if (length < 2 || mark == 0xd9)
            return false;
        at += 2 + length;
        // What cameras append (previews, films) comes after the mark, so it is looked for from the end.
        if (mark == startOfScan)
            return framed && file.has(at, 2) && file.bytes().substr(at).rfind("\xff\xd9"sv) != std::string_view::npos;
    }
    return false;
}

// ISO/IEC 15948: chunks of length, type, data and check sum, from IHDR to IEND.
bool pngIsWhole(const ByteReader& file) {
    if (!file.has(0, 33) || file.text(12, 4) != "IHDR" || file.big32(16) == 0 || file.big32(20) == 0)
        return false;
    bool hasData = false;
    for (std::size_t at = 8; file.has(at, 12);) {
        const std::string_view type = file.text(at + 4, 4);
        const std::size_t length = file.big32(at);
        if (!file.has(at, 12 + length))
            return false;
        if (type == "IEND")
            return hasData;
        hasData = hasData || type == "IDAT";
        at += 12 + length;
    }
    return false;
}

// GIF89a: blocks of sub-blocks, from the screen to the trailer.
bool gifIsWhole(const ByteReader& file) {
    const auto colours = [](unsigned flags) { return (flags & 0x80U) != 0 ? std::size_t{3} << ((flags & 7U) + 1) : 0; };
    if (!file.has(0, 13))
        return false;
    std::size_t at = 13 + colours(file.byte(10));
    bool hasImage = false;
    while (file.has(at, 1)) {
        const unsigned kind = file.byte(at);
        if (kind == 0x3b)
            return hasImage;
        if (kind == 0x2c) { // an image: its place, its colours, the size of its codes
            if (!file.has(at, 11))
                return false;
            hasImage = true;
            at += 11 + colours(file.byte(at + 9));
        } else if (kind == 0x21) {
            at += 2;
        } else {
            return false;
        }
        while (file.has(at, 1) && file.byte(at) != 0)
            at += 1 + file.byte(at);
        ++at;
    }
    return false;
}

// RFC 9649.
bool webpIsWhole(const ByteReader& file) {
    const std::size_t size = file.little32(4);
    return size >= 12 && file.has(8, size) && file.text(12, 3) == "VP8";
}

bool bmpIsWhole(const ByteReader& file) {
    if (!file.has(0, 54) || file.little32(14) < 40)
        return false;
    const std::size_t pixels = file.little32(10);
    const std::int64_t width = file.littleSigned32(18);
    const std::int64_t height = std::abs(std::int64_t{file.littleSigned32(22)});
    const std::size_t depth = file.little16(28);
    const bool isPlain = file.little32(30) == 0;
    if (width <= 0 || height == 0 || depth == 0 || depth > 64)
        return false;
    if (!isPlain)
        return file.has(pixels, std::max<std::size_t>(file.little32(34), 1));
    const std::size_t row = (static_cast<std::size_t>(width) * depth + 31) / 32 * 4;
    const auto rows = static_cast<std::size_t>(height);
    return rows <= file.size() / row && file.has(pixels, row * rows);
}

// ISO/IEC 14496-12: boxes of length and type. What is cut off is cut off the last one, or it is the whole last one:
// what is told of the picture, or its data.
bool boxesAreWhole(const ByteReader& file, std::string_view told) {
    bool isTold = false;
    bool hasData = false;
    std::size_t at = 0;
    while (file.has(at, 8)) {
        std::uint64_t length = file.big32(at);
        if (length == 1 && !file.has(at, 16))
            return false;
        if (length == 1)
            length = file.big64(at + 8);
        else if (length == 0) // to the end
            length = file.size() - at;
        if (length < 8 || length > file.size() - at)
            return false;
        const std::string_view type = file.text(at + 4, 4);
        isTold = isTold || type == told;
        hasData = hasData || type == "mdat";
        at += static_cast<std::size_t>(length);
    }
    return isTold && hasData && at == file.size();
}

/// By the major brand of the first box, which speaks for the file.
PictureFormat formatOfBrand(std::string_view brand) {
    struct Brand {
        std::string_view name;
        PictureFormat format;
    };
    static constexpr std::array brands{
        Brand{"heic", PictureFormat::heic}, Brand{"heix", PictureFormat::heic}, Brand{"heim", PictureFormat::heic},
        Brand{"heis", PictureFormat::heic}, Brand{"mif1", PictureFormat::heif}, Brand{"avif", PictureFormat::avif},
        Brand{"avis", PictureFormat::avif}, Brand{"crx ", PictureFormat::raw},
    };
    const auto* const found = std::ranges::find(brands, brand, &Brand::name);
    return found == brands.end() ? PictureFormat::none : found->format;
}

PictureFormat boxedFormat(const ByteReader& file) {
    const PictureFormat format = formatOfBrand(file.text(8, 4));
    const std::string_view told = format == PictureFormat::raw ? "moov" : "meta";
    return boxesAreWhole(file, told) ? format : PictureFormat::none;
}

PictureFormat when(bool isWhole, PictureFormat format) { return isWhole ? format : PictureFormat::none; }

} // namespace

PictureFormat pictureFormat(std::string_view bytes) {
    const ByteReader file(bytes);
    const auto beginsWith = [&](std::string_view mark) { return bytes.starts_with(mark); };
    if (beginsWith("\xff\xd8\xff"sv))
        return when(jpegIsWhole(file), PictureFormat::jpeg);
    if (beginsWith("\x89PNG\r\n\x1a\n"sv))
        return when(pngIsWhole(file), PictureFormat::png);
    if (beginsWith("GIF87a"sv) || beginsWith("GIF89a"sv))
        return when(gifIsWhole(file), PictureFormat::gif);
    if (beginsWith("RIFF"sv) && file.text(8, 4) == "WEBP")
        return when(webpIsWhole(file), PictureFormat::webp);
    if (beginsWith("BM"sv))
        return when(bmpIsWhole(file), PictureFormat::bmp);
    if (file.text(4, 4) == "ftyp")
        return boxedFormat(file);
    if (beginsWith("II*\0"sv) || beginsWith("MM\0*"sv))
        return when(tiffIsWhole(bytes), PictureFormat::tiff);
    if (beginsWith("IIRO"sv) || beginsWith("IIRS"sv) || beginsWith("MMOR"sv) || beginsWith("IIU\0"sv) ||
        beginsWith("FUJIFILMCCD-RAW "sv))
        return PictureFormat::raw;
    return PictureFormat::none;
}

} // namespace vennic::worker
