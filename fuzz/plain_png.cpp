#include "linux/worker/PlainPng.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace vennic;

/// What is plain is so as a whole only, and only of the size that it says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    wire::PictureSize claimed;
    if (size < sizeof claimed)
        return 0;
    std::memcpy(&claimed, data, sizeof claimed);
    const QByteArray png(reinterpret_cast<const char*>(data) + sizeof claimed,
                         static_cast<qsizetype>(size - sizeof claimed));
    if (!isPlainPng(png, claimed))
        return 0;
    const bool isSloppy = isPlainPng(png.chopped(1), claimed) || isPlainPng(png + '\0', claimed) ||
                          isPlainPng(png, {claimed.width + 1, claimed.height});
    if (isSloppy)
        std::abort();
    return 0;
}
