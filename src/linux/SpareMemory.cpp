#include "linux/SpareMemory.h"

#include <cstddef>
#include <malloc.h>

namespace vennic {

namespace {
constexpr std::size_t worthIt = std::size_t{8} * 1024 * 1024; // bytes
} // namespace

void returnSpareMemory() {
    if (mallinfo2().fordblks > worthIt)
        malloc_trim(0);
}

void returnAllSpareMemory() { malloc_trim(0); }

} // namespace vennic
