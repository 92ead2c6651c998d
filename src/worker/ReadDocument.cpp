#include "worker/ReadDocument.h"

#include "base/Graphemes.h"
#include "worker/DecodedText.h"
#include "worker/PdfReader.h"
#include "worker/RtfReader.h"

#include <algorithm>
#include <limits>

namespace vennic::worker {
namespace {

ReadResult cutTo(std::string_view text, std::size_t most) {
    const GraphemeCut cut = cutGraphemes(text, most);
    return {wire::Outcome::text, std::string(text.substr(0, cut.length)), cut.length < text.size()};
}

ReadResult readRtf(std::string_view bytes, std::size_t most) {
    RtfReader reader;
    // Once more than `most` characters are there, the rest can't be reached. Each look costs a count from the
    // beginning, so the next one waits until the text has doubled.
    std::size_t nextLook = most;
    while (!bytes.empty() && !reader.ended()) {
        constexpr std::size_t chunk = std::size_t{64} << 10;
        reader.feed(bytes.substr(0, chunk));
        bytes.remove_prefix(std::min(chunk, bytes.size()));
        if (reader.text().size() > nextLook) {
            if (cutGraphemes(reader.text(), most).length < reader.text().size())
                break;
            nextLook = reader.text().size() * 2;
        }
    }
    if (!reader.finish())
        return {wire::Outcome::unparsable, {}, false};
    return cutTo(reader.text(), most);
}

ReadResult readPdf(std::string_view bytes, std::size_t most) {
    const auto read = pdfText(bytes, most, wire::mostPdfTextBytes);
    if (!read)
        return {wire::Outcome::unparsable, {}, false};
    ReadResult result = cutTo(read->text, most);
    result.truncated = result.truncated || read->cutShort;
    return result;
}

} // namespace

void warmUpReaders() { warmUpPdf(); }

ReadResult readDocument(wire::Form form, std::string_view bytes, std::uint64_t mostCharacters) {
    const auto most =
        static_cast<std::size_t>(std::min<std::uint64_t>(mostCharacters, std::numeric_limits<std::size_t>::max() / 2));
    switch (form) {
    case wire::Form::plainText:
        return cutTo(DecodedText(bytes, most).text(), most);
    case wire::Form::rtf:
        return readRtf(bytes, most);
    case wire::Form::pdf:
        return readPdf(bytes, most);
    }
    return {wire::Outcome::unparsable, {}, false};
}

} // namespace vennic::worker
