#include "worker/CallFilter.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vennic::worker {
namespace {

class Filter {
public:
    Filter() : context_(seccomp_init(SCMP_ACT_KILL_PROCESS)) {}

    void allow(int call) { add(SCMP_ACT_ALLOW, call); }
    /// Only when the bits of `mask` in argument `argument` are `value`.
    void allowMasked(int call, unsigned argument, scmp_datum_t mask, scmp_datum_t value) {
        const scmp_arg_cmp condition{argument, SCMP_CMP_MASKED_EQ, mask, value};
        note(seccomp_rule_add_array(context_.get(), SCMP_ACT_ALLOW, call, 1, &condition));
    }
    void allowEqual(int call, unsigned argument, scmp_datum_t value) {
        const scmp_arg_cmp condition{argument, SCMP_CMP_EQ, value, 0};
        note(seccomp_rule_add_array(context_.get(), SCMP_ACT_ALLOW, call, 1, &condition));
    }
    /// Fails with `error` without ending the process: what a library tries and can do without.
    void deny(int call, int error) { add(SCMP_ACT_ERRNO(static_cast<unsigned>(error)), call); }
    bool load() { return good_ && seccomp_load(context_.get()) == 0; }

private:
    struct Release {
        void operator()(void* context) const { seccomp_release(context); }
    };

    void add(unsigned action, int call) { note(seccomp_rule_add_array(context_.get(), action, call, 0, nullptr)); }
    void note(int result) { good_ = good_ && (result == 0 || result == -EEXIST); }

    std::unique_ptr<void, Release> context_;
    bool good_ = context_ != nullptr;
};

void allowThreads(Filter& filter) {
    constexpr scmp_datum_t thread = CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SIGHAND | CLONE_THREAD | CLONE_SYSVSEM;
    filter.allowMasked(SCMP_SYS(clone), 0, thread, thread);
    // Its flags stand in memory, where no filter sees them; the C library then takes the older call.
    filter.deny(SCMP_SYS(clone3), ENOSYS);
    for (const int call :
         {SCMP_SYS(set_robust_list), SCMP_SYS(rseq), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity)})
        filter.allow(call);
}

} // namespace

bool filterCalls(bool threads) {
    Filter filter;
    for (const int call :
         {SCMP_SYS(read),          SCMP_SYS(pread64),    SCMP_SYS(write),        SCMP_SYS(recvmsg),
          SCMP_SYS(lseek),         SCMP_SYS(fstat),      SCMP_SYS(newfstatat),   SCMP_SYS(close),
          SCMP_SYS(brk),           SCMP_SYS(munmap),     SCMP_SYS(mremap),       SCMP_SYS(madvise),
          SCMP_SYS(futex),         SCMP_SYS(exit),       SCMP_SYS(exit_group),   SCMP_SYS(getrandom),
          SCMP_SYS(clock_gettime), SCMP_SYS(getdents64), SCMP_SYS(rt_sigreturn), SCMP_SYS(rt_sigprocmask),
          SCMP_SYS(rt_sigaction),  SCMP_SYS(getpid),     SCMP_SYS(gettid)})
        filter.allow(call);
    // Reading is all that a file may be opened for; which ones, the file rules say.
    filter.allowMasked(SCMP_SYS(openat), 2, O_ACCMODE | O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY), O_RDONLY);
    // No memory that can be executed: nothing is loaded any more.
    filter.allowMasked(SCMP_SYS(mmap), 2, PROT_EXEC, 0);
    filter.allowMasked(SCMP_SYS(mprotect), 2, PROT_EXEC, 0);
    for (const int command : {F_GETFD, F_SETFD, F_GETFL})
        filter.allowEqual(SCMP_SYS(fcntl), 1, static_cast<scmp_datum_t>(command));
    filter.allowEqual(SCMP_SYS(tgkill), 0, static_cast<scmp_datum_t>(getpid())); // abort()
    for (const int call : {SCMP_SYS(open), SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(stat),
                           SCMP_SYS(lstat), SCMP_SYS(readlink), SCMP_SYS(socket), SCMP_SYS(sysinfo), SCMP_SYS(uname),
                           SCMP_SYS(statfs), SCMP_SYS(fstatfs), SCMP_SYS(getcwd)})
        filter.deny(call, EACCES);
    filter.deny(SCMP_SYS(ioctl), ENOTTY);
    if (threads)
        allowThreads(filter);
#if defined(VENNIC_SANITIZED)
    // What the sanitizers' run-time calls while it works and when it reports.
    for (const int call : {SCMP_SYS(sigaltstack), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity),
                           SCMP_SYS(getrlimit), SCMP_SYS(prlimit64), SCMP_SYS(getppid), SCMP_SYS(dup), SCMP_SYS(dup2),
                           SCMP_SYS(pipe2), SCMP_SYS(nanosleep), SCMP_SYS(clock_nanosleep)})
        filter.allow(call);
#endif
    return filter.load();
}

} // namespace vennic::worker
