#pragma once

namespace vennic {

/// No core file ever holds what this process holds, what it makes is for its user alone, and threads share two
/// memory arenas: called first thing in main().
void limitProcess();

/// In a child that will run a program of the user's: what it makes is for whom the user's umask says. Safe between fork
/// and exec.
void restoreUserMask();

} // namespace vennic
