#include "linux/index/IdlePriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vennic::index {

void takeIdlePriority() {
    // Each of the three may be refused, and the work goes on without.
    const auto thread = static_cast<id_t>(syscall(SYS_gettid));
    setpriority(PRIO_PROCESS, thread, 19);
    const sched_param none{};
    sched_setscheduler(static_cast<pid_t>(thread), SCHED_IDLE, &none);
    constexpr int process = 1;         // IOPRIO_WHO_PROCESS
    constexpr int idleClass = 3 << 13; // IOPRIO_CLASS_IDLE
    syscall(SYS_ioprio_set, process, thread, idleClass);
}

} // namespace vennic::index
