#pragma once
#include "base/DocumentWire.h"

#include <cstdint>
#include <span>

namespace vennic::worker {

/// What the boxed process may use. The defaults are the program's that reads texts.
struct BoxRules {
    /// Memory that it may write to.
    std::uint64_t memoryBytes = std::uint64_t{768} << 20;
    /// Address space beyond that, for files that are mapped and not read.
    std::uint64_t mappedBytes = 0;
    unsigned cpuSeconds = wire::textLife.mostCpuSeconds;
    /// Whether it may start threads: some libraries know no other way. Processes it never may.
    bool threads = false;
    /// Folders whose files it may read, beside Poppler's data. Those that aren't there don't matter.
    std::span<const char* const> readableFolders;
};

/// Gives up, for the rest of the process's life, everything that reading a document doesn't need: memory and processor
/// time beyond the limits, core files, children, new privileges, the file system but for the libraries' data, the
/// network, and every system call outside a short list. A call outside the list ends the process.
///
/// A build with sanitizers keeps the address space unlimited and allows the few calls that their run-time makes.
[[nodiscard]] wire::BoxState lockDown(const BoxRules& rules);

} // namespace vennic::worker
