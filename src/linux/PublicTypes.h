#pragma once
#include <span>
#include <string_view>

namespace vennic {

/// The public identifier of a lower-case file name extension; empty when the table doesn't have it.
std::string_view publicType(std::string_view extension);

/// What a public identifier directly descends from; empty for one that the table doesn't have, and for a root.
std::span<const std::string_view> publicParents(std::string_view type);

} // namespace vennic
