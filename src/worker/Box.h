#pragma once
#include "base/DocumentWire.h"

#include <cstdint>

namespace vennic::worker {

/// How much the boxed process may use.
struct BoxLimits {
    std::uint64_t memoryBytes = std::uint64_t{768} << 20;
    unsigned cpuSeconds = wire::mostCpuSeconds;
};

/// Gives up, for the rest of the process's life, everything that reading a document doesn't need: memory and processor
/// time beyond the limits, core files, children, new privileges, the file system but for Poppler's data, the network,
/// and every system call outside a short list. A call outside the list ends the process.
///
/// A build with sanitizers keeps the address space unlimited and allows the few calls that their run-time makes.
[[nodiscard]] wire::BoxState lockDown(const BoxLimits& limits);

} // namespace vennic::worker
