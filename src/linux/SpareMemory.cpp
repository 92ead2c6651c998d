#include "linux/SpareMemory.h"

#include <cstddef>
#include <cstdint>
#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vennic {

namespace {
constexpr std::size_t worthIt = std::size_t{8} * 1024 * 1024; // bytes
/// Of one program or library, what can't have been written to.
int dropPages(dl_phdr_info* object, std::size_t, void*) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const auto& part = object->dlpi_phdr[i];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_W) != 0)
            continue;
        const std::uintptr_t begin = (object->dlpi_addr + part.p_vaddr + page - 1) / page * page;
        const std::uintptr_t end = (object->dlpi_addr + part.p_vaddr + part.p_filesz) / page * page;
        if (begin < end)
            ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
    }
    return 0;
}

} // namespace

void returnSpareMemory() {
    if (mallinfo2().fordblks > worthIt)
        malloc_trim(0);
}

void returnAllSpareMemory() {
    malloc_trim(0);
    dl_iterate_phdr(dropPages, nullptr);
}

} // namespace vennic
