#pragma once
namespace vennic {

// How a program is started on behalf of the user: as a session of its own that gets none of our descriptors, no signal
// that was held back, and neither our limits nor what our own start was given.

/// For `GSpawnChildSetupFunc`: runs in the child between fork and exec.
void becomeProgramOfTheUser(void* unused) noexcept;

/// Variables of our environment that were meant for this process alone: the tokens by which it was brought to the
/// front, and what a service manager hands to the process that it starts. Ends with a null pointer.
const char* const* variablesOfThisProcess() noexcept;

} // namespace vennic
