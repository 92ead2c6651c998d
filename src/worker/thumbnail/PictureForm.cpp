#include "worker/thumbnail/PictureForm.h"

#include <algorithm>
#include <array>

namespace vennic::worker {
namespace {

using namespace std::string_view_literals;

/// ISO/IEC 14496-12: the first box says which formats the file follows.
bool isHeif(std::string_view bytes) {
    constexpr std::array brands{"heic"sv, "heix"sv, "heim"sv, "heis"sv, "mif1"sv,
                                "msf1"sv, "hevc"sv, "avif"sv, "avis"sv};
    if (bytes.size() < 16 || bytes.substr(4, 4) != "ftyp")
        return false;
    return std::ranges::find(brands, bytes.substr(8, 4)) != brands.end();
}

/// Text after a byte order mark and white space.
std::string_view withoutLead(std::string_view text) {
    if (text.starts_with("\xef\xbb\xbf"))
        text.remove_prefix(3);
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

/// Whether the first element of an XML document is "svg", with or without a prefix.
bool isSvg(std::string_view bytes) {
    constexpr std::size_t longestProlog = 16384;
    std::string_view rest = withoutLead(bytes.substr(0, longestProlog));
    const auto skipPast = [&rest](std::string_view end) {
        const std::size_t at = rest.find(end);
        rest = at == std::string_view::npos ? std::string_view() : withoutLead(rest.substr(at + end.size()));
    };
    while (rest.starts_with("<?") || rest.starts_with("<!")) {
        if (rest.starts_with("<?")) {
            skipPast("?>");
        } else if (rest.starts_with("<!--")) {
            skipPast("-->");
        } else if (const std::size_t subset = rest.find_first_of("[>"); subset != rest.npos && rest[subset] == '[') {
            skipPast("]");
            while (!rest.empty() && !rest.starts_with('>')) // the bracket stood in an entity's text
                skipPast("]");
            skipPast(">");
        } else {
            skipPast(">");
        }
    }
    if (!rest.starts_with('<'))
        return false;
    std::string_view name = rest.substr(1, rest.find_first_of(" \t\r\n/>", 1) - 1);
    name.remove_prefix(name.find(':') + 1); // nothing where there is no prefix
    return name == "svg";
}

/// ISO 32000-1, annex H: the header may stand anywhere in the first KiB.
bool isPdf(std::string_view bytes) { return bytes.substr(0, 1024).find("%PDF-") != std::string_view::npos; }

/// SVG 2, section 2: compressed by gzip, a file is an SVG all the same. What else it may hold, its reader finds out.
bool isCompressed(std::string_view bytes) { return bytes.starts_with("\x1f\x8b\x08"); }

} // namespace

PictureForm pictureForm(std::string_view bytes) {
    if (bytes.starts_with("\x89PNG\r\n\x1a\n"))
        return PictureForm::png;
    if (bytes.starts_with("\xff\xd8\xff"))
        return PictureForm::jpeg;
    if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a"))
        return PictureForm::gif;
    if (bytes.starts_with("II*\0"sv) || bytes.starts_with("MM\0*"sv) || bytes.starts_with("II+\0"sv) ||
        bytes.starts_with("MM\0+"sv))
        return PictureForm::tiff;
    if (bytes.starts_with("RIFF") && bytes.size() >= 12 && bytes.substr(8, 4) == "WEBP")
        return PictureForm::webp;
    if (isHeif(bytes))
        return PictureForm::heif;
    if (bytes.starts_with("BM"))
        return PictureForm::bmp;
    if (isSvg(bytes) || isCompressed(bytes))
        return PictureForm::svg;
    return isPdf(bytes) ? PictureForm::pdf : PictureForm::none;
}

} // namespace vennic::worker
