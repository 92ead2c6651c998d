#include "linux/ProcessLimits.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace vennic {

void limitProcess() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    umask(0077);
    mallopt(M_ARENA_MAX, 2); // an arena per thread would keep megabytes that nobody uses
}

} // namespace vennic
