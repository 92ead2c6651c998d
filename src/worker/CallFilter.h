#pragma once

namespace vennic::worker {

/// Allows the system calls that reading a document needs and ends the process on any other (seccomp). False when the
/// filter can't be had. With `threads` the process may start threads, and still no other process. Needs no_new_privs.
[[nodiscard]] bool filterCalls(bool threads);

} // namespace vennic::worker
