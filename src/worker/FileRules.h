#pragma once

namespace vennic::worker {

/// Takes away the whole file system but for reading Poppler's data, and, where the kernel knows how, TCP, abstract
/// sockets and signals to others (Landlock). False when the kernel has no Landlock. Needs no_new_privs.
[[nodiscard]] bool restrictFiles();

} // namespace vennic::worker
