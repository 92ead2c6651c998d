#include "linux/thumbnail/OneProcessFilter.h"

#include <cerrno>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>

namespace vennic {
namespace {

struct Release {
    void operator()(void* filter) const { seccomp_release(filter); }
};

} // namespace

FileDescriptor oneProcessFilter() {
    const std::unique_ptr<void, Release> filter(seccomp_init(SCMP_ACT_ALLOW));
    FileDescriptor file(memfd_create("filter", MFD_CLOEXEC));
    if (!filter || !file.isOpen())
        return {};
    bool good = true;
    const auto deny = [&](int error, int call) {
        good = good && seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(static_cast<unsigned>(error)), call, 0,
                                              nullptr) == 0;
    };
    for (const int call : {SCMP_SYS(fork), SCMP_SYS(vfork), SCMP_SYS(unshare), SCMP_SYS(setns), SCMP_SYS(memfd_create),
                           SCMP_SYS(memfd_secret), SCMP_SYS(shmget), SCMP_SYS(msgget), SCMP_SYS(semget),
                           SCMP_SYS(mq_open), SCMP_SYS(bpf)})
        deny(EPERM, call);
    // Its flags stand in memory, where no filter sees them; the C library then takes the older call.
    for (const int call : {SCMP_SYS(clone3), SCMP_SYS(io_uring_setup)})
        deny(ENOSYS, call);
    const scmp_arg_cmp isNoThread{0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0};
    good = good && seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(EPERM), SCMP_SYS(clone), 1, &isNoThread) == 0 &&
           seccomp_export_bpf(filter.get(), file.number()) == 0 && lseek(file.number(), 0, SEEK_SET) == 0;
    return good ? std::move(file) : FileDescriptor();
}

} // namespace vennic
