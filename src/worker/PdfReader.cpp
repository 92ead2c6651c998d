#include "worker/PdfReader.h"

#include "base/Graphemes.h"

#include <iconv.h>
#include <memory>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

namespace vennic::worker {
namespace {

/// Poppler's own line ends and page mark at the end of a page are no part of the page's text.
std::string_view withoutEnd(std::string_view text) {
    const std::size_t last = text.find_last_not_of("\n\r\f ");
    return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

/// Poppler reads its tables whenever the first of the open documents is opened. One that stays open keeps them.
void keepTables() {
    static constexpr std::string_view smallest = "%PDF-1.1\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                                                 "2 0 obj<</Type/Pages/Kids[]/Count 0>>endobj\n"
                                                 "trailer<</Root 1 0 R>>\n%%EOF";
    static const std::unique_ptr<poppler::document> kept(
        poppler::document::load_from_raw_data(smallest.data(), static_cast<int>(smallest.size())));
}

std::string pageText(const poppler::document& document, int index) {
    const std::unique_ptr<poppler::page> page(document.create_page(index));
    if (!page)
        return {};
    const auto text = page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
    return {text.data(), text.size()};
}

} // namespace

void warmUpPdf() {
    poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr);
    // glibc unloads a converter that is no longer open; these two stay open for the life of the process.
    static const iconv_t toUtf16 = iconv_open("UTF-16", "UTF-8");
    static const iconv_t toUtf8 = iconv_open("UTF-8", "UTF-16");
    (void)toUtf16;
    (void)toUtf8;
    (void)poppler::ustring::from_latin1("x").to_utf8();
}

std::optional<PdfText> pdfText(std::string_view bytes, std::size_t most, std::size_t mostBytes) {
    keepTables();
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(bytes.data(), static_cast<int>(bytes.size())));
    if (!document || document->is_locked())
        return std::nullopt;
    PdfText result;
    std::size_t characters = 0;
    const int pages = document->pages();
    for (int index = 0; index < pages; ++index) {
        const std::string whole = pageText(*document, index);
        const std::string_view text = withoutEnd(whole);
        if (text.empty())
            continue;
        if (text.size() + 1 > mostBytes - result.text.size()) {
            result.cutShort = true;
            return result;
        }
        // A newline always ends a character, so the pages can be counted one by one.
        characters += graphemeCount(text);
        result.text += text;
        if (characters >= most)
            return result;
        result.text += '\n';
        ++characters;
    }
    return result;
}

} // namespace vennic::worker
