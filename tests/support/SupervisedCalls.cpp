#include "support/SupervisedCalls.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <new>
#include <optional>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vennic::test {

namespace {

constexpr std::array supervised{SYS_write,     SYS_pwrite64,  SYS_writev, SYS_fsync,   SYS_fdatasync,
                                SYS_ftruncate, SYS_fallocate, SYS_unlink, SYS_unlinkat};
/// Said to have been done, so that idle threads don't wait for a busy machine at each call.
constexpr std::array ignored{SYS_setpriority, SYS_sched_setscheduler, SYS_ioprio_set};

/// Gives the descriptor by which this thread's calls, and those of the threads that it starts, are judged.
int install() {
    std::array<sock_filter, supervised.size() + ignored.size() + 4> filter{};
    const auto jumpIf = [](long number, std::size_t over) {
        return sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number),
                                    static_cast<unsigned char>(over), 0);
    };
    std::size_t at = 0;
    filter[at++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    for (std::size_t i = 0; i < supervised.size(); ++i)
        filter[at++] = jumpIf(supervised[i], supervised.size() + ignored.size() - i);
    for (std::size_t i = 0; i < ignored.size(); ++i)
        filter[at++] = jumpIf(ignored[i], ignored.size() - i + 1);
    filter[at++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    filter[at++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF);
    filter[at++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO); // with no error
    const sock_fprog program{static_cast<unsigned short>(at), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return -1;
    return static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

FileCall::Kind kindOf(long number) {
    switch (number) {
    case SYS_fsync:
    case SYS_fdatasync:
        return FileCall::Kind::synchronise;
    case SYS_ftruncate:
        return FileCall::Kind::truncate;
    case SYS_unlink:
    case SYS_unlinkat:
        return FileCall::Kind::remove;
    default:
        return FileCall::Kind::write;
    }
}

/// The threads share one memory, so that the names that calls are given can be read as they stand.
std::string textAt(std::uint64_t address) {
    return reinterpret_cast<const char*>(address); // NOLINT(performance-no-int-to-ptr): the kernel gives numbers
}

std::string pathOf(const seccomp_data& call) {
    if (call.nr == SYS_unlink)
        return textAt(call.args[0]);
    if (call.nr == SYS_unlinkat)
        return textAt(call.args[1]);
    std::array<char, PATH_MAX> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(static_cast<int>(call.args[0]));
    const ssize_t size = readlink(link.c_str(), path.data(), path.size());
    return {path.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

void supervise(int listener, const std::string& folder, const std::function<Verdict(const FileCall&)>& judge,
               std::atomic<std::size_t>& calls) {
    for (;;) {
        seccomp_notif asked{};
        if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0) {
            if (errno == EINTR || errno == ENOENT)
                continue;
            _exit(99);
        }
        seccomp_notif_resp answer{};
        answer.id = asked.id;
        answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        const std::string path = pathOf(asked.data);
        if (path.starts_with(folder)) {
            const Verdict verdict = judge({kindOf(asked.data.nr), path, ++calls});
            if (verdict == Verdict::kill)
                kill(getpid(), SIGKILL);
            if (verdict != Verdict::proceed)
                answer.flags = 0;
            if (verdict == Verdict::noSpace)
                answer.error = -ENOSPC;
        }
        ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }
}

[[noreturn]] void runHere(const std::string& folder, const std::function<int()>& work,
                          const std::function<Verdict(const FileCall&)>& judge, std::atomic<std::size_t>& calls) {
    // Nothing between the two but these numbers: a sanitizer's checks make calls too, which nobody would answer yet.
    constexpr int none = -2;
    std::atomic<int> installed = none;
    std::thread([&] {
        installed.wait(none);
        supervise(installed, folder, judge, calls);
    }).detach();
    installed = install();
    installed.notify_one();
    if (installed < 0)
        _exit(98);
    _exit(work());
}

} // namespace

SupervisedEnd runSupervised(const std::string& folder, const std::function<int()>& work,
                            const std::function<Verdict(const FileCall&)>& judge) {
    void* const shared =
        mmap(nullptr, sizeof(std::atomic<std::size_t>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        return {};
    auto* const calls = new (shared) std::atomic<std::size_t>(0);
    const pid_t child = fork();
    if (child == 0)
        runHere(folder, work, judge, *calls);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    SupervisedEnd end{WIFSIGNALED(status), WIFEXITED(status) ? WEXITSTATUS(status) : -1, *calls};
    munmap(shared, sizeof(std::atomic<std::size_t>));
    return end;
}

} // namespace vennic::test
