#include "base/IdlePriority.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace vennic;

namespace {
struct Priority {
    int scheduler;
    int nice;
    long input; // the class of ioprio_get(2): 3 is idle

    static Priority ofThisThread() {
        return {sched_getscheduler(0), getpriority(PRIO_PROCESS, 0), syscall(SYS_ioprio_get, 1, 0) >> 13};
    }
    bool operator==(const Priority&) const = default;
};
} // namespace

TEST(IdlePriority, isTakenByTheCallingThreadAlone) {
    const Priority before = Priority::ofThisThread();
    Priority idle{};
    std::thread([&idle] {
        takeIdlePriority();
        idle = Priority::ofThisThread();
    }).join();
    EXPECT_EQ(idle, (Priority{SCHED_IDLE, 19, 3}));
    EXPECT_EQ(Priority::ofThisThread(), before);
}
