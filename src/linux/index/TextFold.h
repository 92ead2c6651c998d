#pragma once
#include <string>
#include <string_view>

namespace vennic::index {

/// Canonical composition and case folding of UTF-8, accents kept: the form in which names, texts and patterns are
/// compared. Gives what `caseFolded` gives; bytes that are no UTF-8 become U+FFFD. The result is valid UTF-8.
std::string foldedText(std::string_view text);

} // namespace vennic::index
