#pragma once
#include "linux/FileDescriptor.h"

namespace vennic {

/// A file in memory with a filter of system calls (BPF, as the kernel takes it) under which a program starts threads
/// but no other process, and gets no memory that isn't counted in its own address space: none of System V, none behind
/// a nameless file, none of io_uring. Such a call fails; nothing else is filtered. Not open when it couldn't be made.
FileDescriptor oneProcessFilter();

} // namespace vennic
