#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace poppler {
class document;
}

namespace vennic::worker {

/// Loads what Poppler would otherwise load from disk in the middle of its first document.
void warmUpPdf();

/// To be called before Poppler is used in any other way than by what follows; cheap.
void preparePoppler();

/// The PDF in these bytes, which outlive it; nothing when they aren't one that opens without a password.
std::unique_ptr<poppler::document> openPdf(std::string_view bytes);

/// The text layer of page `index` from 0 on, UTF-8, as it stands but for the two line ends and the form feed that
/// Poppler sets after a page's last line; nothing when there is no such page.
std::optional<std::string> pdfPageText(const poppler::document& document, int index);

} // namespace vennic::worker
