// The frames of pictures, and what their EXIF says: whatever the bytes are, the facts are within their bounds.
#include "worker/PhotoReader.h"
#include "worker/PictureFile.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vennic;
    [[maybe_unused]] static const bool warm = (worker::warmUpPhotos(), true);
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const PictureFormat format = worker::pictureFormat(bytes);
    const PhotoFacts facts = worker::photoFacts(bytes);
    const bool isSame = facts.format == format || (format == PictureFormat::raw && facts == PhotoFacts{});
    const bool isDate = facts.month >= 1 && facts.month <= 12 && facts.day >= 1 && facts.day <= 31 && facts.hour < 24;
    const bool isPlace = std::abs(facts.latitude) <= 90 && std::abs(facts.longitude) <= 180;
    if (!isSame || (facts.dated != 0 && !isDate) || (facts.placed != 0 && !isPlace) ||
        (format == PictureFormat::none && !(facts == PhotoFacts{})))
        std::abort();
    return 0;
}
