#pragma once
#include <array>
#include <cstddef>

namespace vennic::test {

/// Whether this process's memory can be searched: a sanitizer keeps what has been freed, and has too much of it.
constexpr bool canSearchMemory() {
#if defined(VENNIC_SANITIZED)
    return false;
#else
    return true;
#endif
}

/// Whether two bytes stand `times` times after one another anywhere in the memory that this process may write, what has
/// been freed included. A test that looks for a text asks for one of a single character, so that it holds no copy
/// itself.
bool memoryHoldsRun(std::array<unsigned char, 2> pair, std::size_t times);

} // namespace vennic::test
