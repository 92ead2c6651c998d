// Locks itself up as the document process does, or with a third argument as the one for pictures, and then tries one
// forbidden act.
// Ends with 0 when the act was refused with an error, 1 when it worked, 2 for an unknown act, 3 when there is no box.
#include "worker/Box.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/io_uring.h>
#include <map>
#include <new>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

// Straight to the kernel: a library in between might refuse by itself.
template <class... Arguments>
bool works(long number, Arguments... arguments) {
    return syscall(number, arguments...) >= 0;
}

const char* secret = nullptr;
pid_t parent = 0;

bool eatMemory() {
    try {
        std::vector<std::string> eaten;
        for (int megabyte = 0; megabyte < 1024; ++megabyte)
            eaten.emplace_back(std::size_t{1} << 20, 'x');
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool raiseLimit() {
    const rlimit more{1 << 20, 1 << 20};
    return works(SYS_setrlimit, RLIMIT_NOFILE, &more);
}

bool executableMemory() {
    return mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
}

bool executableLater() {
    void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return mprotect(page, 4096, PROT_READ | PROT_EXEC) == 0;
}

const std::map<std::string, bool (*)()> acts{
    {"read-a-secret", [] { return works(SYS_openat, AT_FDCWD, secret, O_RDONLY); }},
    {"read-passwd", [] { return works(SYS_openat, AT_FDCWD, "/etc/passwd", O_RDONLY); }},
    {"list-root", [] { return works(SYS_openat, AT_FDCWD, "/", O_RDONLY | O_DIRECTORY); }},
    {"write", [] { return works(SYS_openat, AT_FDCWD, secret, O_WRONLY); }},
    {"create", [] { return works(SYS_openat, AT_FDCWD, "made", O_RDONLY | O_CREAT, 0600); }},
    {"unnamed-file", [] { return works(SYS_openat, AT_FDCWD, "/tmp", O_TMPFILE | O_RDWR, 0600); }},
    {"socket", [] { return works(SYS_socket, AF_INET, SOCK_STREAM, 0); }},
    {"socket-pair",
     [] {
         int ends[2];
         return works(SYS_socketpair, AF_UNIX, SOCK_STREAM, 0, ends);
     }},
    {"execute",
     [] {
         const char* const arguments[] = {"/bin/true", nullptr};
         return works(SYS_execve, "/bin/true", arguments, nullptr);
     }},
    {"fork", [] { return works(SYS_fork); }},
    {"clone", [] { return works(SYS_clone, 0, nullptr, nullptr, nullptr, 0); }},
    {"trace", [] { return works(SYS_ptrace, 0, 0, 0, 0); }},
    {"read-other-memory", [] { return works(SYS_process_vm_readv, parent, nullptr, 0, nullptr, 0, 0); }},
    {"signal-parent", [] { return works(SYS_kill, parent, 0); }},
    {"signal-another", [] { return works(SYS_tgkill, parent, parent, 0); }},
    {"unlink", [] { return works(SYS_unlink, secret); }},
    {"rename", [] { return works(SYS_rename, secret, "elsewhere"); }},
    {"link", [] { return works(SYS_link, secret, "elsewhere"); }},
    {"make-folder", [] { return works(SYS_mkdir, "folder", 0700); }},
    {"change-mode", [] { return works(SYS_chmod, secret, 0777); }},
    {"own-signals", [] { return works(SYS_fcntl, 0, F_SETOWN, parent); }},
    {"memory-file", [] { return works(SYS_memfd_create, "m", 0); }},
    {"ring",
     [] {
         io_uring_params parameters{};
         return works(SYS_io_uring_setup, 4, &parameters);
     }},
    {"program-kernel", [] { return works(SYS_bpf, 0, nullptr, 0); }},
    {"become-root", [] { return works(SYS_setuid, 0); }},
    {"process-settings", [] { return works(SYS_prctl, PR_SET_DUMPABLE, 1, 0, 0, 0); }},
    {"raise-limit", raiseLimit},
    {"executable-memory", executableMemory},
    {"executable-later", executableLater},
    {"eat-memory", eatMemory},
};

} // namespace

int main(int count, char** arguments) {
    if (count < 3)
        return 2;
    secret = arguments[2];
    parent = getppid();
    const auto act = acts.find(arguments[1]);
    if (act == acts.end())
        return 2;
    constexpr const char* readable = "/usr/share/fonts";
    const vennic::worker::BoxRules pictures{.threads = true, .readableFolders = {&readable, 1}};
    if (vennic::worker::lockDown(count > 3 ? pictures : vennic::worker::BoxRules()) != vennic::wire::BoxState::boxed)
        return 3;
    _exit(act->second() ? 1 : 0);
}
