#include "worker/PhotoReader.h"

#include "worker/ByteReader.h"
#include "worker/PictureFile.h"

#include <array>
#include <chrono>
#include <cmath>
#include <exiv2/exiv2.hpp>
#include <libheif/heif.h>
#include <memory>
#include <optional>
#include <string>

namespace vennic::worker {
namespace {

constexpr long longestText = 64; // bytes; no date is longer

/// A short text without the padding that some cameras write; empty when there is none.
std::string textOf(const Exiv2::ExifData& exif, const char* key) {
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    if (found == exif.end() || found->typeId() != Exiv2::asciiString || found->size() > longestText)
        return {};
    std::string text = found->toString();
    text.resize(std::min(text.find('\0'), text.size()));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

/// The number that `count` digits at `at` make; none for anything but digits.
std::optional<unsigned> digits(const std::string& text, std::size_t at, std::size_t count) {
    unsigned number = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9')
            return std::nullopt;
        number = number * 10 + static_cast<unsigned>(text[i] - '0');
    }
    return number;
}

bool isSeparated(const std::string& text) {
    const auto isOneOf = [&](std::size_t at, std::string_view signs) {
        return signs.find(text[at]) != std::string_view::npos;
    };
    return text.size() == 19 && isOneOf(4, ":-") && isOneOf(7, ":-") && isOneOf(10, " T") && isOneOf(13, ":") &&
           isOneOf(16, ":");
}

/// "2024:07:14 12:30:45" into the record, if there was such a moment.
bool readDate(const std::string& text, PhotoFacts& facts) {
    if (!isSeparated(text))
        return false;
    std::array<unsigned, 6> numbers{};
    static constexpr std::array<std::pair<std::size_t, std::size_t>, 6> places{
        {{0, 4}, {5, 2}, {8, 2}, {11, 2}, {14, 2}, {17, 2}}};
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto number = digits(text, places[i].first, places[i].second);
        if (!number)
            return false;
        numbers[i] = *number;
    }
    const auto [year, month, day, hour, minute, second] = numbers;
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                           std::chrono::day(day));
    if (year == 0 || !date.ok() || hour > 23 || minute > 59 || second > 59)
        return false;
    const auto narrow = [](unsigned number) { return static_cast<std::uint16_t>(number); };
    facts.dated = 1;
    facts.year = narrow(year);
    facts.month = narrow(month);
    facts.day = narrow(day);
    facts.hour = narrow(hour);
    facts.minute = narrow(minute);
    facts.second = narrow(second);
    return true;
}

/// The digits behind the decimal point of the second.
std::uint16_t milliseconds(const std::string& text) {
    unsigned number = 0;
    unsigned weight = 100;
    for (const char c : text) {
        if (c < '0' || c > '9')
            break;
        number += static_cast<unsigned>(c - '0') * weight;
        weight /= 10;
    }
    return static_cast<std::uint16_t>(number);
}

/// "+02:00", "-05:30" or "Z", in minutes.
std::optional<std::int16_t> offset(const std::string& text) {
    constexpr unsigned farthest = 14 * 60;
    if (text == "Z")
        return std::int16_t{0};
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':')
        return std::nullopt;
    const auto hours = digits(text, 1, 2);
    const auto minutes = digits(text, 4, 2);
    if (!hours || !minutes || *minutes > 59 || *hours * 60 + *minutes > farthest)
        return std::nullopt;
    const int east = static_cast<int>(*hours * 60 + *minutes);
    return static_cast<std::int16_t>(text[0] == '-' ? -east : east);
}

void readMoment(const Exiv2::ExifData& exif, PhotoFacts& facts) {
    struct Keys {
        const char* date;
        const char* offset;
        const char* fraction;
    };
    // By number: not every version of the library has a name for the offsets.
    static constexpr std::array<Keys, 2> all{{
        {"Exif.Photo.0x9003", "Exif.Photo.0x9011", "Exif.Photo.0x9291"}, // original
        {"Exif.Photo.0x9004", "Exif.Photo.0x9012", "Exif.Photo.0x9292"}, // digitized
    }};
    for (const Keys& keys : all) {
        if (!readDate(textOf(exif, keys.date), facts))
            continue;
        facts.millisecond = milliseconds(textOf(exif, keys.fraction));
        const auto east = offset(textOf(exif, keys.offset));
        facts.zoned = east ? 1 : 0;
        facts.offsetMinutes = east.value_or(0);
        return;
    }
}

/// Degrees, minutes and seconds as three rationals, and the letter that tells the sign.
std::optional<double> coordinate(const Exiv2::ExifData& exif, const char* key, const char* letterKey,
                                 std::string_view letters, double most) {
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    const std::string letter = textOf(exif, letterKey);
    if (found == exif.end() || found->typeId() != Exiv2::unsignedRational || found->count() != 3 || letter.size() != 1)
        return std::nullopt;
    const std::size_t sign = letters.find(letter[0]);
    if (sign == std::string_view::npos)
        return std::nullopt;
    double degrees = 0;
    double weight = 1;
    for (long i = 0; i < 3; ++i) {
        const auto [over, under] = found->toRational(i);
        if (under == 0)
            return std::nullopt;
        degrees += static_cast<double>(static_cast<std::uint32_t>(over)) / static_cast<std::uint32_t>(under) / weight;
        weight *= 60;
    }
    if (!std::isfinite(degrees) || degrees > most)
        return std::nullopt;
    return sign == 0 ? degrees : -degrees;
}

void readPlace(const Exiv2::ExifData& exif, PhotoFacts& facts) {
    const auto latitude = coordinate(exif, "Exif.GPSInfo.0x0002", "Exif.GPSInfo.0x0001", "NS", 90);
    const auto longitude = coordinate(exif, "Exif.GPSInfo.0x0004", "Exif.GPSInfo.0x0003", "EW", 180);
    // A receiver without a fix writes zeros; nobody takes pictures at that point of the Gulf of Guinea.
    if (!latitude || !longitude || (*latitude == 0 && *longitude == 0))
        return;
    facts.placed = 1;
    facts.latitude = *latitude;
    facts.longitude = *longitude;
}

/// The EXIF block of a picture in boxes (ISO/IEC 23008-12), which Exiv2 finds in some of them only.
std::string exifOfBoxes(std::string_view bytes) {
    const std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(), heif_context_free);
    heif_image_handle* handle = nullptr;
    if (heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr).code !=
            heif_error_Ok ||
        heif_context_get_primary_image_handle(context.get(), &handle).code != heif_error_Ok)
        return {};
    const std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)> image(handle,
                                                                                         heif_image_handle_release);
    heif_item_id item = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &item, 1) != 1)
        return {};
    std::string block(heif_image_handle_get_metadata_size(handle, item), '\0');
    if (block.size() <= 4 || heif_image_handle_get_metadata(handle, item, block.data()).code != heif_error_Ok)
        return {};
    // It begins with the distance from here to the TIFF header.
    const std::size_t header = std::size_t{4} + ByteReader(block).big32(0);
    return header < block.size() ? block.substr(header) : std::string();
}

/// Raises Exiv2::Error.
Exiv2::ExifData exifOf(PictureFormat format, std::string_view bytes) {
    Exiv2::ExifData exif;
    if (format == PictureFormat::heic || format == PictureFormat::heif || format == PictureFormat::avif) {
        const std::string block = exifOfBoxes(bytes);
        Exiv2::ExifParser::decode(exif, reinterpret_cast<const Exiv2::byte*>(block.data()),
                                  static_cast<std::uint32_t>(block.size()));
        return exif;
    }
    const auto image =
        Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(bytes.data()), static_cast<long>(bytes.size()));
    image->readMetadata();
    return image->exifData();
}

} // namespace

void warmUpPhotos() {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::enableBMFF(true);
    Exiv2::XmpParser::initialize();
    // The first message looks for translations, by way of the program's own path.
    (void)Exiv2::Error(Exiv2::kerErrorMessage, "").what();
    heif_context_free(heif_context_alloc()); // looks for its plug-ins
}

PhotoFacts photoFacts(std::string_view bytes) {
    PhotoFacts facts;
    facts.format = pictureFormat(bytes);
    if (facts.format == PictureFormat::none)
        return facts;
    try {
        const Exiv2::ExifData exif = exifOf(facts.format, bytes);
        readMoment(exif, facts);
        readPlace(exif, facts);
    } catch (const std::exception&) { // Exiv2's errors, and memory that a lying length asks for
        // A raw file has no frame but what Exiv2 makes of it.
        const PictureFormat format = facts.format == PictureFormat::raw ? PictureFormat::none : facts.format;
        facts = {};
        facts.format = format;
    }
    return facts;
}

ReadResult readPhotoFacts(const Document& document, const wire::Parameters&) {
    return ReadResult::record(photoFacts(document.bytes()));
}

} // namespace vennic::worker
