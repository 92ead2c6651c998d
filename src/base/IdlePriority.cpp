#include "base/IdlePriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vennic {

void takeIdlePriority() {
    const sched_param none{};
    sched_setscheduler(0, SCHED_IDLE, &none); // 0: on Linux this thread, for all three
    setpriority(PRIO_PROCESS, 0, 19);
    // Of linux/ioprio.h, which some kernels' headers write in a C that is no C++.
    constexpr int process = 1;         // IOPRIO_WHO_PROCESS
    constexpr int idleClass = 3 << 13; // IOPRIO_CLASS_IDLE at level 0
    syscall(SYS_ioprio_set, process, 0, idleClass);
}

} // namespace vennic
