#include "worker/PdfReader.h"

#include "base/Graphemes.h"
#include "worker/PdfFile.h"

#include <poppler-document.h>

namespace vennic::worker {

std::optional<PdfText> pdfText(std::string_view bytes, std::size_t most, std::size_t mostBytes) {
    const auto document = openPdf(bytes);
    if (!document)
        return std::nullopt;
    PdfText result;
    std::size_t characters = 0;
    const int pages = document->pages();
    for (int index = 0; index < pages; ++index) {
        const std::string text = pdfPageText(*document, index).value_or(std::string());
        if (text.empty())
            continue;
        if (text.size() + 1 > mostBytes - result.text.size()) {
            result.cutShort = true;
            return result;
        }
        // A newline always ends a character, so the pages can be counted one by one; after a carriage return it is
        // part of the same one.
        characters += graphemeCount(text);
        result.text += text;
        if (characters >= most)
            return result;
        result.text += '\n';
        characters += text.ends_with('\r') ? 0 : 1;
    }
    return result;
}

} // namespace vennic::worker
