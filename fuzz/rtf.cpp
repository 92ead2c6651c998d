#include "base/Utf8.h"
#include "worker/RtfReader.h"

#include <cstdint>
#include <cstdlib>

using vennic::worker::RtfReader;

// Whatever the bytes: well-formed UTF-8 of bounded length, the same in one chunk and in many.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    RtfReader whole;
    whole.feed(bytes);
    RtfReader parts;
    const std::size_t chunk = size > 0 ? 1 + data[size - 1] % 7 : 1;
    for (std::size_t at = 0; at < size; at += chunk)
        parts.feed(bytes.substr(at, chunk));
    if (whole.finish() != parts.finish() || whole.text() != parts.text())
        std::abort();
    if (!vennic::isUtf8(whole.text()) || whole.text().size() > size * 3)
        std::abort();
    return 0;
}
