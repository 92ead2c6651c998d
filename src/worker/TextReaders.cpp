#include "worker/TextReaders.h"

#include "base/Graphemes.h"
#include "worker/DecodedText.h"
#include "worker/PdfFile.h"
#include "worker/PdfReader.h"
#include "worker/RtfReader.h"

#include <algorithm>
#include <array>
#include <limits>

namespace vennic::worker {
namespace {

std::size_t mostOf(const wire::Parameters& parameters) {
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(parameters.mostCharacters, std::numeric_limits<std::size_t>::max() / 2));
}

ReadResult cutTo(std::string_view text, std::size_t most) {
    const GraphemeCut cut = cutGraphemes(text, most);
    return {wire::Outcome::done, std::string(text.substr(0, cut.length)), cut.length < text.size()};
}

ReadResult readPlainText(const Document& document, const wire::Parameters& parameters) {
    const std::size_t most = mostOf(parameters);
    return cutTo(DecodedText(document.bytes(), most).text(), most);
}

ReadResult readRtf(const Document& document, const wire::Parameters& parameters) {
    const std::size_t most = mostOf(parameters);
    std::string_view bytes = document.bytes();
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
        return ReadResult::unparsable();
    return cutTo(reader.text(), most);
}

ReadResult readPdf(const Document& document, const wire::Parameters& parameters) {
    const std::size_t most = mostOf(parameters);
    const auto read = pdfText(document.bytes(), most, wire::mostPdfTextBytes);
    if (!read)
        return ReadResult::unparsable();
    ReadResult result = cutTo(read->text, most);
    result.truncated = result.truncated || read->cutShort;
    return result;
}

} // namespace

void warmUpTextReaders() { warmUpPdf(); }

std::span<const Reader> textReaders() {
    static constexpr std::array<Reader, 3> readers{{
        {wire::Form::plainText, readPlainText},
        {wire::Form::rtf, readRtf},
        {wire::Form::pdf, readPdf},
    }};
    return readers;
}

} // namespace vennic::worker
