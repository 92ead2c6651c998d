#pragma once

namespace vennic {

/// Gives memory that nobody uses any more back to the system. A large answer leaves some behind between small things
/// that live on, where the allocator doesn't look by itself. Any thread may call it; it takes milliseconds.
void returnSpareMemory();
/// The same, however little it is.
void returnAllSpareMemory();

} // namespace vennic
