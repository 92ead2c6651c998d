#pragma once
#include <string>

namespace vennic {

/// Why a call of the system failed, for errno's `error`: French, UTF-8, without capital and full stop. One that nobody
/// has put into words is named by its number: the C library's own words are English.
std::string systemReason(int error);

} // namespace vennic
