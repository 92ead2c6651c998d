#pragma once
#include <span>

namespace vennic::worker {

/// Takes away the whole file system but for reading Poppler's data and what is in `readableFolders`, and, where the
/// kernel knows how, TCP, abstract sockets and signals to others (Landlock). False when the kernel has no Landlock.
/// Needs no_new_privs.
[[nodiscard]] bool restrictFiles(std::span<const char* const> readableFolders);

} // namespace vennic::worker
