#pragma once
#include <functional>

namespace vennic {

/// Runs `function` on the main thread's event loop, in the order of the calls. Any thread may call it; what is
/// posted after the application object has gone is dropped.
void postToMain(std::function<void()> function);

} // namespace vennic
