#pragma once

namespace vennic {

/// Gives memory that nobody uses any more back to the system. A large answer leaves some behind between small things
/// that live on, where the allocator doesn't look by itself. Any thread may call it; it takes milliseconds.
void returnSpareMemory();
/// After something large was closed for good: gives all of it back, and the pages of code and constants that were read
/// in for it. They stay in the system's cache of files, from which those that are used again come back by themselves.
void returnAllSpareMemory();

} // namespace vennic
