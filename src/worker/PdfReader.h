#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vennic::worker {

struct PdfText {
    std::string text;      // UTF-8; at least `most` user-perceived characters where the document has them
    bool cutShort = false; // the text reached its ceiling in bytes before that
};

/// The texts of the pages that have one, from the first on, each followed by a newline unless `most` user-perceived
/// characters are reached with it. Nothing when the bytes aren't a PDF that opens without a password.
std::optional<PdfText> pdfText(std::string_view bytes, std::size_t most, std::size_t mostBytes);

} // namespace vennic::worker
