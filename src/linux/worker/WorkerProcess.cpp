#include "linux/worker/WorkerProcess.h"

#include "linux/SpawnAttributes.h"
#include "linux/worker/AnswerCheck.h"
#include "linux/worker/WorkerFailure.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;
using Monotonic = std::chrono::steady_clock;

constexpr int workerSocket = 3; // where the program expects its end

using Cause = WorkerFailure::Cause;

[[noreturn]] void failDied(Cause cause) {
    throw WorkerFailure(cause, QStringLiteral("La lecture du document s'est interrompue."));
}
[[noreturn]] void failSlow(Cause cause) {
    throw WorkerFailure(cause, QStringLiteral("La lecture du document a pris trop de temps."));
}
[[noreturn]] void failStart() {
    throw WorkerFailure(Cause::unavailable,
                        QStringLiteral("Le programme de lecture des documents n'a pas pu démarrer."));
}
[[noreturn]] void failLie(Cause cause) {
    throw WorkerFailure(cause, QStringLiteral("La lecture du document a donné une réponse incohérente."));
}
[[noreturn]] void failUnboxed() {
    throw WorkerFailure(Cause::unavailable, QStringLiteral("Ce système ne permet pas d'isoler la lecture des "
                                                           "documents : rien n'est lu."));
}
[[noreturn]] void failAbandoned() {
    throw WorkerFailure(Cause::unavailable, QStringLiteral("La lecture du document a été abandonnée."));
}

/// Whether these signals come from somebody else: a crash gives others, and so do the limits of the box, but for the
/// hard one of processor time, before which a process is replaced.
bool isSentByOthers(int signal) {
    return signal == SIGKILL || signal == SIGTERM || signal == SIGHUP || signal == SIGINT || signal == SIGQUIT;
}

/// The environment of the process: nothing of ours, but for what a sanitizer's run-time needs.
std::vector<char*> workerEnvironment() {
    std::vector<char*> kept;
#if defined(VENNIC_SANITIZED)
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (strstr(*entry, "SAN_OPTIONS=") != nullptr)
            kept.push_back(*entry);
    }
#endif
    kept.push_back(nullptr);
    return kept;
}

class SpawnActions {
public:
    explicit SpawnActions(int socket) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_adddup2(&actions_, socket, workerSocket);
        posix_spawn_file_actions_addclosefrom_np(&actions_, workerSocket + 1);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
#if !defined(VENNIC_SANITIZED)
        posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
#endif
    }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    Q_DISABLE_COPY_MOVE(SpawnActions)

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

} // namespace

/// How long to wait for the process: by the clock, and by the processor time that it has used.
class WorkerProcess::Patience {
public:
    Patience(const WorkerProcess& process, std::chrono::nanoseconds mostCpu, std::chrono::nanoseconds mostWall)
        : process_(process), cpuEnd_(process.cpuTime() + mostCpu), wallEnd_(Monotonic::now() + mostWall) {}

    /// Returns when the socket has something to read; raises when patience has ended.
    void await() const {
        while (true) {
            // Processor time can't pass faster than the clock, so nothing can be over before this.
            const std::chrono::nanoseconds cpuLeft = cpuEnd_ - process_.cpuTime();
            const std::chrono::nanoseconds left =
                std::min<std::chrono::nanoseconds>(cpuLeft, wallEnd_ - Monotonic::now());
            if (left <= 0ns)
                failSlow(cpuLeft <= 0ns ? Cause::document : Cause::interrupted);
            std::array<pollfd, 3> waited{{{process_.socket_.number(), POLLIN, 0},
                                          {process_.ends_.ofLane, POLLIN, 0},
                                          {process_.ends_.ofRequest, POLLIN, 0}}};
            const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
            const int ready = poll(waited.data(), waited.size(), static_cast<int>(milliseconds));
            if (ready < 0 && errno != EINTR)
                failDied(Cause::interrupted);
            if (ready > 0 && (waited[1].revents != 0 || waited[2].revents != 0))
                failAbandoned();
            if (ready > 0)
                return;
        }
    }

private:
    const WorkerProcess& process_;
    std::chrono::nanoseconds cpuEnd_;
    Monotonic::time_point wallEnd_;
};

WorkerProcess::WorkerProcess(const DocumentWorkerOptions& options, Ends ends) : options_(options), ends_(ends) {
    start();
    try {
        awaitHello();
    } catch (...) {
        end();
        throw;
    }
}

WorkerProcess::~WorkerProcess() { end(); }

void WorkerProcess::end() {
    if (process_ <= 0)
        return;
    kill(process_, SIGKILL); // it holds nothing that could be lost
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool WorkerProcess::isAbandoned() const {
    std::array<pollfd, 2> ends{{{ends_.ofLane, POLLIN, 0}, {ends_.ofRequest, POLLIN, 0}}};
    return poll(ends.data(), ends.size(), 0) > 0;
}

void WorkerProcess::start() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        failStart();
    socket_ = FileDescriptor(ends[0]);
    const FileDescriptor theirs(ends[1]);
    const SpawnActions actions(theirs.number());
    const QByteArray program = QFile::encodeName(options_.executable);
    std::array<char*, 3> arguments{const_cast<char*>(program.constData()), nullptr, nullptr};
    char background[] = "--background";
    if (options_.background)
        arguments[1] = background;
    if (posix_spawn(&process_, program.constData(), actions.get(), SpawnAttributes().get(), arguments.data(),
                    workerEnvironment().data()) != 0)
        failStart();
}

void WorkerProcess::awaitHello() {
    wire::Hello hello;
    try {
        readExactly(&hello, sizeof hello, Patience(*this, options_.mostWall, options_.mostWall));
    } catch (const DocumentReadError&) {
        if (isAbandoned())
            throw;
        failStart();
    }
    if (hello.magic != wire::magic || hello.version != wire::version)
        failLie(Cause::unavailable);
    if (hello.box != wire::BoxState::boxed)
        failUnboxed();
}

WorkerFailure::Cause WorkerProcess::causeOfEnd() const {
    // Its socket closes a moment before the process can be asked how it ended.
    const FileDescriptor ended(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    pollfd waited{ended.number(), POLLIN, 0};
    constexpr int mostMilliseconds = 1000;
    if (ended.isOpen())
        poll(&waited, 1, mostMilliseconds);
    siginfo_t end{};
    const bool known =
        waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid == process_;
    return known && end.si_code == CLD_KILLED && isSentByOthers(end.si_status) ? Cause::interrupted : Cause::document;
}

std::chrono::nanoseconds WorkerProcess::cpuTime() const {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(process_, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return 0ns; // it has died, which its socket tells
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

bool WorkerProcess::isFit() const {
    char byte = 0;
    const ssize_t got = recv(socket_.number(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    const bool silent = got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    return silent && cpuTime() < std::chrono::seconds(options_.life.replaceAfterCpuSeconds);
}

bool WorkerProcess::send(const wire::Request& request, const OpenedDocument& document) {
    wire::Request copy = request;
    iovec part{&copy, sizeof copy};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int));
    const int file = document.descriptor();
    std::memcpy(CMSG_DATA(rights), &file, sizeof file);
    ssize_t sent = 0;
    do
        sent = sendmsg(socket_.number(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(sizeof copy);
}

void WorkerProcess::readExactly(void* data, std::size_t size, const Patience& patience) {
    auto* at = static_cast<char*>(data);
    while (size > 0) {
        patience.await();
        const ssize_t got = recv(socket_.number(), at, size, MSG_DONTWAIT);
        if (got < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK))
            continue;
        if (got <= 0)
            failDied(causeOfEnd());
        at += got;
        size -= static_cast<std::size_t>(got);
    }
}

WorkerProcess::Reply WorkerProcess::receive(const wire::Request& request, const OpenedDocument& document,
                                            qint64 sizeBefore) {
    const auto usual = std::chrono::seconds(wire::ceilingsOf(request.form).cpuSeconds);
    const Patience patience(*this, options_.mostCpu.value_or(usual), options_.mostWall);
    Reply reply;
    readExactly(&reply.answer, sizeof reply.answer, patience);
    const AnswerCheck check(request, sizeBefore, document.size());
    if (!check.allows(reply.answer))
        failLie(Cause::document);
    // Room is made as the body comes, not as it is announced.
    const auto announced = static_cast<qsizetype>(reply.answer.bodyBytes);
    while (reply.body.size() < announced) {
        constexpr qsizetype mostAtOnce = qsizetype{4} << 20;
        const qsizetype had = reply.body.size();
        const qsizetype next = std::min(mostAtOnce, announced - had);
        reply.body.resize(had + next);
        readExactly(reply.body.data() + had, static_cast<std::size_t>(next), patience);
    }
    if (!check.allows(reply.answer, reply.body))
        failLie(Cause::document);
    return reply;
}

} // namespace vennic
