#pragma once
#include <string>

namespace vennic::index::test {

/// LIKE by plain recursion over code points: slow, short and plainly right. Both are UTF-8, folded here.
bool naiveLike(const std::string& text, const std::string& pattern);

} // namespace vennic::index::test
