#pragma once

namespace vennic {

/// No core file ever holds what this process holds, what it makes is for its user alone, and threads share two
/// memory arenas: called first thing in main().
void limitProcess();

} // namespace vennic
