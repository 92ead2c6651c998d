#pragma once
#include "linux/GlibOwned.h"

#include <chrono>

namespace vennic {

/// One call of a method on the session bus, which is connected to for it, waited for on the calling thread without its
/// event loop. A bus that doesn't answer at all is given up after two seconds, a service after `limit`. `arguments` is
/// a tuple, taken when it is floating. Whether the service did what it was asked; none is started for it.
bool callOnSessionBus(const char* service, const char* path, const char* interface, const char* method,
                      GVariant* arguments, std::chrono::milliseconds limit);

} // namespace vennic
