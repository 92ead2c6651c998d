#include "linux/PipedProgram.h"

#include "base/LocalizedError.h"
#include "base/SystemReason.h"
#include "linux/GlibFault.h"
#include "linux/GlibOwned.h"
#include "linux/ProgramOfTheUser.h"
#include "linux/StopDescriptor.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vennic {

namespace {

constexpr std::size_t chunk = std::size_t{64} << 10;
constexpr int politeMilliseconds = 500;
constexpr int killMilliseconds = 2000; // a process that the kernel itself holds up is left behind

/// Writes without the SIGPIPE by which a reader that has gone would end this process.
ssize_t writeQuietly(int descriptor, const char* data, std::size_t size) {
    sigset_t pipe;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    const ssize_t written = ::write(descriptor, data, size);
    const int error = errno;
    if (written < 0 && error == EPIPE && sigismember(&pending, SIGPIPE) == 0) {
        const timespec now{};
        while (sigtimedwait(&pipe, nullptr, &now) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return written;
}

QString reasonOf(int error) { return QString::fromStdString(systemReason(error)); }

bool isForLater(int error) { return error == EAGAIN || error == EINTR; }

void neverBlock(int descriptor) { ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK); }

bool isReadable(int descriptor, int milliseconds) {
    pollfd waited{descriptor, POLLIN, 0};
    int ready = 0;
    do
        ready = ::poll(&waited, 1, milliseconds);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

GlibTexts environmentForTheUser(const ProgramCommand& command) {
    gchar** environment = g_get_environ();
    for (const char* const* name = variablesOfThisProcess(); *name != nullptr; ++name)
        environment = g_environ_unsetenv(environment, *name);
    for (const auto& [name, value] : command.variables)
        environment = g_environ_setenv(environment, name.toUtf8().constData(), QFile::encodeName(value), TRUE);
    return GlibTexts(environment);
}

std::vector<QByteArray> words(const ProgramCommand& command) {
    std::vector<QByteArray> words{QFile::encodeName(command.executable)};
    words.reserve(static_cast<std::size_t>(command.arguments.size()) + 1);
    for (const QString& argument : command.arguments) {
        if (argument.contains(QChar::Null))
            throw LocalizedError(QStringLiteral("Un argument contient un caractère nul, ce que le système refuse."));
        words.push_back(argument.toUtf8());
    }
    return words;
}

} // namespace

/// What the program's streams are: a descriptor of ours is used as it is, else the place that is named gets the end of
/// a new pipe, else there is /dev/null.
struct PipedProgram::Start {
    int bothOutputs = -1;
    int* toInput = nullptr;
    int* fromOutput = nullptr;
    int* fromError = nullptr;
};

PipedProgram::PipedProgram(const QString& executable, const QStringList& arguments,
                           const std::optional<QByteArray>& input)
    : input_(input.value_or(QByteArray())) {
    int toInput = -1;
    int fromOutput = -1;
    int fromError = -1;
    start({executable, arguments},
          {.toInput = input ? &toInput : nullptr, .fromOutput = &fromOutput, .fromError = &fromError});
    inputPipe_ = FileDescriptor(toInput);
    output_.pipe = FileDescriptor(fromOutput);
    error_.pipe = FileDescriptor(fromError);
    for (const int pipe : {toInput, fromOutput, fromError})
        neverBlock(pipe);
    follow();
}

PipedProgram::PipedProgram(const ProgramCommand& command) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw LocalizedError(reasonOf(errno));
    output_.pipe = FileDescriptor(ends[0]);
    const FileDescriptor written(ends[1]);
    neverBlock(ends[0]);
    start(command, {.bothOutputs = ends[1]});
    follow();
}

void PipedProgram::start(const ProgramCommand& command, const Start& start) {
    const std::vector<QByteArray> program = words(command);
    std::vector<const gchar*> given;
    given.reserve(program.size() + 1);
    for (const QByteArray& word : program)
        given.push_back(word.constData());
    given.push_back(nullptr);
    const gchar* const home = g_get_home_dir();
    GError* error = nullptr;
    constexpr auto flags =
        GSpawnFlags(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_CLOEXEC_PIPES); // NOLINT(*.EnumCastOutOfRange)
    const auto started = g_spawn_async_with_pipes_and_fds(
        QFileInfo(QFile::decodeName(home)).isDir() ? home : "/", given.data(), environmentForTheUser(command).get(),
        flags, becomeProgramOfTheUser, nullptr, -1, start.bothOutputs, start.bothOutputs, nullptr, nullptr, 0, &pid_,
        start.toInput, start.fromOutput, start.fromError, &error);
    if (started == FALSE) {
        const std::unique_ptr<GError, decltype(&g_error_free)> reason(error, &g_error_free);
        throw LocalizedError(QStringLiteral("%1 : %2").arg(command.executable, glibFault(*reason)));
    }
}

void PipedProgram::follow() {
    process_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    if (!process_.isOpen()) {
        const QString reason = reasonOf(errno);
        ::kill(-pid_, SIGKILL);
        ended();
        throw LocalizedError(reason);
    }
}

PipedProgram::~PipedProgram() {
    if (pid_ != 0)
        end();
}

PipedProgram::End PipedProgram::await(qsizetype mostOutput, std::stop_token stop) {
    mostOutput_ = mostOutput;
    return serve(std::move(stop));
}

PipedProgram::End PipedProgram::hear(std::function<void(QByteArray)> heard, std::stop_token stop) {
    heard_ = std::move(heard);
    return serve(std::move(stop));
}

PipedProgram::End PipedProgram::serve(std::stop_token stop) {
    const StopDescriptor stopped(std::move(stop));
    while (true) {
        // A closed one has the number -1, which poll leaves out.
        std::array<pollfd, 5> waited{{{stopped.number(), POLLIN, 0},
                                      {process_.number(), POLLIN, 0},
                                      {inputPipe_.number(), POLLOUT, 0},
                                      {output_.pipe.number(), POLLIN, 0},
                                      {error_.pipe.number(), POLLIN, 0}}};
        if (::poll(waited.data(), waited.size(), -1) < 0) {
            if (errno != EINTR)
                throw LocalizedError(reasonOf(errno));
            continue;
        }
        const auto isReady = [&](std::size_t which) { return waited.at(which).revents != 0; };
        if (isReady(0)) {
            end();
            return End::stopped;
        }
        const bool hasEnded = isReady(1); // asked before its pipes are read, so that nothing is left in them
        if (isReady(2))
            writeSome();
        if (isReady(3))
            readSome(output_);
        if (isReady(4))
            readSome(error_);
        if (hasEnded) {
            readWhatIsLeft(output_);
            readWhatIsLeft(error_);
        }
        if (hasEnded)
            return ended();
    }
}

void PipedProgram::writeSome() {
    if (written_ < input_.size()) {
        const auto size = std::min<std::size_t>(chunk, static_cast<std::size_t>(input_.size() - written_));
        const ssize_t count = writeQuietly(inputPipe_.number(), input_.constData() + written_, size);
        if (count < 0 && isForLater(errno))
            return;
        // Who reads no further doesn't have to.
        written_ = count < 0 ? input_.size() : written_ + count;
    }
    if (written_ == input_.size())
        inputPipe_ = FileDescriptor();
}

qsizetype PipedProgram::readSome(Output& from) const {
    std::array<char, chunk> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init): read fills what is used
    const ssize_t count = ::read(from.pipe.number(), bytes.data(), bytes.size());
    if (count == 0 || (count < 0 && !isForLater(errno)))
        from.pipe = FileDescriptor();
    if (count <= 0)
        return 0;
    if (heard_) {
        heard_(QByteArray(bytes.data(), count));
        return count;
    }
    const qsizetype kept = std::min<qsizetype>(count, mostOutput_ - from.text.size());
    from.text.append(bytes.data(), kept);
    from.isWhole = from.isWhole && kept == count;
    return count;
}

void PipedProgram::readWhatIsLeft(Output& from) const {
    // What the program wrote before its end fits into the pipe; whoever else holds it may write without an end.
    qsizetype most = std::max(::fcntl(from.pipe.number(), F_GETPIPE_SZ), 0);
    while (from.pipe.isOpen() && most > 0) {
        const qsizetype count = readSome(from);
        if (count == 0)
            return;
        most -= count;
    }
}

PipedProgram::End PipedProgram::ended() {
    siginfo_t about{};
    while (::waitid(P_PID, static_cast<id_t>(pid_), &about, WEXITED) < 0 && errno == EINTR) {
    }
    pid_ = 0;
    number_ = about.si_status;
    return about.si_code == CLD_EXITED ? End::exited : End::signalled;
}

void PipedProgram::end() {
    // Until it is waited for, its number and its group's belong to nobody else.
    ::kill(-pid_, SIGTERM);
    isReadable(process_.number(), politeMilliseconds);
    ::kill(-pid_, SIGKILL);
    if (isReadable(process_.number(), killMilliseconds))
        ended();
    pid_ = 0;
}

} // namespace vennic
