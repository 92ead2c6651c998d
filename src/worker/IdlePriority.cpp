#include "worker/IdlePriority.h"

#include <linux/ioprio.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vennic::worker {

void takeIdlePriority() {
    // Each is a wish: a system that refuses one still reads the document.
    const sched_param none{};
    sched_setscheduler(0, SCHED_IDLE, &none);
    setpriority(PRIO_PROCESS, 0, 19);
    syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0));
}

} // namespace vennic::worker
