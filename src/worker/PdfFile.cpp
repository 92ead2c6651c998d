#include "worker/PdfFile.h"

#include <iconv.h>
#include <limits>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

namespace vennic::worker {
namespace {

std::string_view without(std::string_view text, std::string_view end) {
    if (text.ends_with(end))
        text.remove_suffix(end.size());
    return text;
}

/// Poppler ends each line, each run of lines and the page: what it sets last is no part of the page's text.
std::string_view withoutPageEnd(std::string_view text) {
    constexpr std::string_view pageMark = "\f";
    constexpr std::string_view lineEnd = "\n";
    return without(without(without(text, pageMark), lineEnd), lineEnd);
}

} // namespace

void preparePoppler() {
    // Poppler reads its tables whenever the first of the open documents is opened. One that stays open keeps them.
    static constexpr std::string_view smallest = "%PDF-1.1\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                                                 "2 0 obj<</Type/Pages/Kids[]/Count 0>>endobj\n"
                                                 "trailer<</Root 1 0 R>>\n%%EOF";
    static const std::unique_ptr<poppler::document> kept(
        poppler::document::load_from_raw_data(smallest.data(), static_cast<int>(smallest.size())));
}

void warmUpPdf() {
    poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr);
    // glibc unloads a converter that is no longer open; these two stay open for the life of the process.
    static const iconv_t toUtf16 = iconv_open("UTF-16", "UTF-8");
    static const iconv_t toUtf8 = iconv_open("UTF-8", "UTF-16");
    (void)toUtf16;
    (void)toUtf8;
    (void)poppler::ustring::from_latin1("x").to_utf8();
}

std::unique_ptr<poppler::document> openPdf(std::string_view bytes) {
    preparePoppler();
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return nullptr;
    std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(bytes.data(), static_cast<int>(bytes.size())));
    if (document != nullptr && document->is_locked())
        document.reset();
    return document;
}

std::optional<std::string> pdfPageText(const poppler::document& document, int index) {
    const std::unique_ptr<poppler::page> page(document.create_page(index));
    if (!page)
        return std::nullopt;
    const auto utf8 = page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
    return std::string(withoutPageEnd({utf8.data(), utf8.size()}));
}

} // namespace vennic::worker
