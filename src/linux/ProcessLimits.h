#pragma once

namespace vennic {

/// No core file ever holds what this process holds, what it makes is for its user alone, and threads share two
/// memory arenas: called first thing in main().
void limitProcess();

/// Gives a program that is about to be started for the user what `limitProcess` had found: whom its files are for,
/// and its core files. Called in the child between fork and exec, where little is allowed.
void restoreLimits() noexcept;

} // namespace vennic
