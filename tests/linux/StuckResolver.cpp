#include "linux/StuckResolver.h"

#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>

namespace {

struct State {
    std::mutex mutex;
    std::condition_variable changed;
    bool stuck = false;
    int lookups = 0;
    int hanging = 0;
};

State& state() {
    static State state;
    return state;
}

} // namespace

// Stands before the C library's own for everything that this program loads.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
    if (node && std::strcmp(node, "stuck.test") == 0) {
        auto& s = state();
        std::unique_lock lock(s.mutex);
        ++s.lookups;
        ++s.hanging;
        s.changed.wait(lock, [&] { return !s.stuck; });
        --s.hanging;
        s.changed.notify_all();
        return EAI_NONAME;
    }
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(node, service, hints, result);
}

namespace vennic::test {

StuckResolver::StuckResolver() {
    const std::lock_guard lock(state().mutex);
    state().stuck = true;
}

StuckResolver::~StuckResolver() {
    std::unique_lock lock(state().mutex);
    state().stuck = false;
    state().changed.notify_all();
    state().changed.wait(lock, [] { return state().hanging == 0; });
}

int StuckResolver::lookups() const {
    const std::lock_guard lock(state().mutex);
    return state().lookups;
}

} // namespace vennic::test
