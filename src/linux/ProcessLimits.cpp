#include "linux/ProcessLimits.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace vennic {

namespace {
mode_t userMask = 0022; // written once, at the start
} // namespace

void limitProcess() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    userMask = umask(0077);
    mallopt(M_ARENA_MAX, 2); // an arena per thread would keep megabytes that nobody uses
}

void restoreUserMask() { umask(userMask); }

} // namespace vennic
