#include "linux/thumbnail/SandboxedCommand.h"

#include "linux/SpawnAttributes.h"
#include "linux/StopDescriptor.h"
#include "linux/thumbnail/OneProcessFilter.h"
#include "linux/worker/OpenedDocument.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vennic {
namespace {

using Monotonic = std::chrono::steady_clock;

/// What a program of the system's needs to start and to draw. Nothing of the user's is among it.
constexpr std::array systemFiles{"/usr",
                                 "/bin",
                                 "/sbin",
                                 "/lib",
                                 "/lib64",
                                 "/opt",
                                 "/etc/alternatives",
                                 "/etc/fonts",
                                 "/etc/ld.so.cache",
                                 "/var/cache/fontconfig"};

QList<QByteArray> words(const char* text) { return QByteArray(text).split(' '); }

/// util-linux's prlimit: what is set before the box is made holds for everything in it.
QList<QByteArray> limits() {
    return words("prlimit --as=2147483648 --fsize=16777216 --cpu=20 --nofile=256 --core=0 --");
}

QList<QByteArray> box() {
    QList<QByteArray> box = words("bwrap --unshare-all --die-with-parent --new-session --cap-drop ALL");
    box += words("--clearenv --setenv PATH /usr/local/bin:/usr/bin:/bin --setenv HOME /tmp --setenv LANG C.UTF-8");
    for (const char* const file : systemFiles)
        box += QList<QByteArray>{"--ro-bind-try", file, file};
    // What is made of files in memory is bounded in /tmp, and can't be written elsewhere.
    return box + words("--proc /proc --dev /dev --remount-ro /dev --size 67108864 --tmpfs /tmp --chdir /tmp");
}

// Numbers of descriptors as bubblewrap gets them; it hands on what it doesn't know.
constexpr int openedInput = 3;
constexpr int callFilter = 4;

/// What runs in the box before the program: sees to it that the file which bubblewrap found by its path is the one that
/// was opened, and that the program doesn't get that descriptor, through which it could write. How many threads there
/// may be is set here, since the kernel counts them by user and box.
QList<QByteArray> entrance(const QByteArray& input) {
    const QByteArray opened = QByteArray::number(openedInput);
    return QList<QByteArray>{"sh", "-c",
                             "test \"$1\" -ef /proc/self/fd/" + opened + " && exec " + opened +
                                 "<&- && shift && exec \"$@\"",
                             "sh", input} +
           words("prlimit --nproc=256 --");
}

class SpawnSetup {
public:
    /// The process gets the two descriptors and no others.
    SpawnSetup(int input, int filter)
        : input_(fcntl(input, F_DUPFD_CLOEXEC, callFilter + 1)),
          filter_(fcntl(filter, F_DUPFD_CLOEXEC, callFilter + 1)) {
        posix_spawn_file_actions_init(&actions_);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
        posix_spawn_file_actions_adddup2(&actions_, input_.number(), openedInput);
        posix_spawn_file_actions_adddup2(&actions_, filter_.number(), callFilter);
        posix_spawn_file_actions_addclosefrom_np(&actions_, callFilter + 1);
    }
    ~SpawnSetup() { posix_spawn_file_actions_destroy(&actions_); }
    Q_DISABLE_COPY_MOVE(SpawnSetup)

    /// The process, or -1.
    pid_t start(const QList<QByteArray>& command) const {
        std::vector<char*> arguments;
        for (const QByteArray& argument : command)
            arguments.push_back(const_cast<char*>(argument.constData()));
        arguments.push_back(nullptr);
        pid_t process = -1;
        return posix_spawnp(&process, arguments[0], &actions_, attributes_.get(), arguments.data(), environ) == 0
                   ? process
                   : -1;
    }

private:
    FileDescriptor input_; // out of the way of the numbers that they get
    FileDescriptor filter_;
    posix_spawn_file_actions_t actions_{};
    SpawnAttributes attributes_{SpawnAttributes::Group::itsOwn};
};

/// Returns when the process has ended, its time has, or the caller is wanted elsewhere.
void awaitEnd(pid_t process, Monotonic::time_point end, int abandon, std::stop_token stop) {
    const StopDescriptor stopped(std::move(stop));
    const FileDescriptor watched(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    while (watched.isOpen()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Monotonic::now()).count();
        std::array<pollfd, 3> waited{
            {{watched.number(), POLLIN, 0}, {abandon, POLLIN, 0}, {stopped.number(), POLLIN, 0}}};
        if (left <= 0 || poll(waited.data(), waited.size(), static_cast<int>(left)) > 0)
            return;
    }
}

bool isThere(const char* program) { return !QStandardPaths::findExecutable(QLatin1String(program)).isEmpty(); }

} // namespace

QByteArray SandboxedCommand::inputInside(const QString& path) {
    // The ending tells some programs what to do; nothing else of the name is theirs to know.
    const QByteArray ending = QFileInfo(path).suffix().toLatin1();
    const bool isPlain = ending.size() <= 16 && std::ranges::all_of(ending, [](char c) {
                             return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
                         });
    return QByteArray("/tmp/document") + (isPlain && !ending.isEmpty() ? '.' + ending : QByteArray());
}

QByteArray SandboxedCommand::outputInside() { return "/tmp/thumbnail.png"; }

bool SandboxedCommand::isPossible() { return isThere("bwrap") && isThere("prlimit"); }

bool SandboxedCommand::run(const OpenedDocument& input, const QString& output, int abandon,
                           std::stop_token stop) const {
    const FileDescriptor filter = oneProcessFilter();
    if (!isPossible() || command.isEmpty() || !filter.isOpen())
        return false;
    const QByteArray inside = inputInside(input.path());
    const QList<QByteArray> files{"--seccomp",
                                  QByteArray::number(callFilter),
                                  "--ro-bind",
                                  QFile::encodeName(input.path()),
                                  inside,
                                  "--bind",
                                  QFile::encodeName(output),
                                  outputInside(),
                                  "--remount-ro",
                                  "/",
                                  "--"};
    const pid_t process =
        SpawnSetup(input.descriptor(), filter.number()).start(limits() + box() + files + entrance(inside) + command);
    if (process < 0)
        return false;
    awaitEnd(process, Monotonic::now() + mostTime, abandon, std::move(stop));
    // The group holds what makes the box; what is in the box dies with that.
    kill(-process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace vennic
