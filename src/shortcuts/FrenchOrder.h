#pragma once
#include <string>
#include <vector>

namespace vennic::shortcuts {

/// Sorts UTF-8 texts as a French reader expects them: accents and case count only between words that are alike, and
/// numbers by their value. Without the data for it, by bytes.
void sortAsFrench(std::vector<std::string>& texts);

} // namespace vennic::shortcuts
