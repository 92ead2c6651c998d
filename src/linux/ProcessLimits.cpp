#include "linux/ProcessLimits.h"

#include <malloc.h>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>

namespace vennic {

namespace {

struct Found {
    rlimit core{};
    mode_t mask = 0;
};
std::optional<Found> found; // set before there is a second thread

} // namespace

void limitProcess() {
    Found before;
    getrlimit(RLIMIT_CORE, &before.core);
    // The limit that the kernel goes by is the soft one; the hard one could never be given back to a child.
    const rlimit none{0, before.core.rlim_max};
    setrlimit(RLIMIT_CORE, &none);
    before.mask = umask(0077);
    mallopt(M_ARENA_MAX, 2); // an arena per thread would keep megabytes that nobody uses
    found = before;
}

void restoreLimits() noexcept {
    if (!found)
        return;
    setrlimit(RLIMIT_CORE, &found->core);
    umask(found->mask);
}

} // namespace vennic
