// Becomes the program that VENNIC_WORKER_PROGRAM names, on a kernel that seems to have no Landlock.
#include <cerrno>
#include <seccomp.h>
#include <unistd.h>

int main(int, char** arguments) {
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if (filter == nullptr ||
        seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(landlock_create_ruleset), 0, nullptr) != 0 ||
        seccomp_load(filter) != 0)
        return 1;
    execv(VENNIC_WORKER_PROGRAM, arguments);
    return 1;
}
