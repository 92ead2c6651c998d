#include "base/Graphemes.h"
#include "base/Utf8.h"
#include "worker/DecodedText.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using vennic::cutGraphemes;
using vennic::graphemeCount;

namespace {

void demand(bool holds) {
    if (!holds)
        std::abort();
}

} // namespace

// Whatever the bytes: well-formed UTF-8 of bounded length, and a cut that agrees with the count, wherever it falls.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const vennic::worker::DecodedText decoded(bytes, size + 1);
    const std::string_view text = decoded.text();
    demand(vennic::isUtf8(text));
    demand(text.size() <= size * 3);
    const std::size_t characters = graphemeCount(text);
    const std::size_t most = size > 0 ? data[size - 1] : 0;
    const auto cut = cutGraphemes(text, most);
    demand(cut.characters == (most < characters ? most : characters));
    demand((cut.length < text.size()) == (most < characters));
    demand(graphemeCount(text.substr(0, cut.length)) == cut.characters);
    // Decoding only what is of interest doesn't change what is of interest.
    const vennic::worker::DecodedText brief(bytes, most);
    demand(brief.text().substr(0, cut.length) == text.substr(0, cut.length));
    demand((cutGraphemes(brief.text(), most).length < brief.text().size()) == (most < characters));
    return 0;
}
