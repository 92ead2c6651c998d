#include "linux/InstanceSocket.h"

#include "base/LocalizedError.h"
#include "base/SystemReason.h"
#include "linux/InstanceConnection.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vennic {

namespace {

constexpr std::size_t maxConnections = 32;
constexpr qsizetype maxAnswerBytes = qsizetype{16} * 1024 * 1024;

QString lastReason() { return QString::fromStdString(systemReason(errno)); }

sockaddr_un addressOf(const QString& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    if (static_cast<std::size_t>(bytes.size()) >= sizeof address.sun_path)
        throw LocalizedError(QStringLiteral("Le chemin du point d'accès de Vennic est trop long : %1").arg(path));
    std::memcpy(address.sun_path, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return address;
}

/// Waits until `descriptor` is ready for `events`; false when the time is over.
bool ready(int descriptor, short events, const QDeadlineTimer& deadline) {
    pollfd wait{descriptor, events, 0};
    for (;;) {
        const int count = ::poll(&wait, 1, static_cast<int>(deadline.remainingTime()));
        if (count > 0)
            return true;
        if (count == 0)
            return false;
        if (errno != EINTR)
            return false;
    }
}

[[noreturn]] void noAnswer() { throw LocalizedError(QStringLiteral("Vennic tourne, mais n'a pas répondu à temps.")); }

} // namespace

/// One asker: its connection and the job that answers it.
class InstanceSocket::Connection : public InstanceConnection {
public:
    using InstanceConnection::InstanceConnection;
};

InstanceSocket::InstanceSocket(QString directory) : directory_(std::move(directory)) {}

InstanceSocket::~InstanceSocket() { hangUp(); }

void InstanceSocket::hangUp() {
    connections_.clear();
    incoming_.reset();
    if (!listener_.isOpen())
        return;
    listener_.close();
    ::unlink(QFile::encodeName(socketPath()).constData());
}

QString InstanceSocket::socketPath() const { return directory_ + QStringLiteral("/socket"); }

void InstanceSocket::makeDirectory() const {
    QDir().mkpath(directory_);
    const QByteArray path = QFile::encodeName(directory_);
    struct stat info{};
    if (::lstat(path.constData(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid())
        throw LocalizedError(QStringLiteral("Le dossier %1 ne peut pas servir à Vennic.").arg(directory_));
    if ((info.st_mode & 0777) != 0700 && ::chmod(path.constData(), 0700) != 0)
        throw LocalizedError(
            QStringLiteral("Le dossier %1 ne peut pas être protégé : %2").arg(directory_, lastReason()));
}

bool InstanceSocket::claim(Handler handler) {
    makeDirectory();
    const QByteArray lockPath = QFile::encodeName(directory_ + QStringLiteral("/lock"));
    FileDescriptor lock(::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock.isOpen())
        throw LocalizedError(QStringLiteral("Le verrou de Vennic ne peut pas être créé : %1").arg(lastReason()));
    if (::flock(lock.number(), LOCK_EX | LOCK_NB) != 0)
        return false;
    lock_ = std::move(lock);
    handler_ = std::move(handler);
    listen();
    return true;
}

void InstanceSocket::listen() {
    const sockaddr_un address = addressOf(socketPath());
    ::unlink(address.sun_path); // the lock is ours: what stands there is a leftover
    listener_ = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // The folder's mode keeps others out between bind and chmod.
    if (!listener_.isOpen() ||
        ::bind(listener_.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(address.sun_path, 0600) != 0 || ::listen(listener_.number(), 16) != 0)
        throw LocalizedError(QStringLiteral("Le point d'accès de Vennic ne peut pas être créé : %1").arg(lastReason()));
    incoming_ = std::make_unique<QSocketNotifier>(listener_.number(), QSocketNotifier::Read);
    QObject::connect(incoming_.get(), &QSocketNotifier::activated, incoming_.get(), [this] { accept(); });
}

void InstanceSocket::accept() {
    for (;;) {
        const int descriptor = ::accept4(listener_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (descriptor < 0)
            return;
        ucred peer{};
        socklen_t size = sizeof peer;
        const bool ours =
            ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
        if (!ours || connections_.size() >= maxConnections) {
            ::close(descriptor);
            continue;
        }
        connections_.push_back(std::make_unique<Connection>(
            descriptor, handler_, [this](InstanceConnection* ended) { drop(static_cast<Connection*>(ended)); }));
    }
}

void InstanceSocket::drop(Connection* connection) {
    connections_.remove_if([connection](const auto& held) { return held.get() == connection; });
}

std::optional<QByteArray> InstanceSocket::ask(const QByteArray& request, std::chrono::milliseconds limit) {
    const QDeadlineTimer deadline(limit);
    const sockaddr_un address = addressOf(socketPath());
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return std::nullopt;
    QByteArray rest = request + '\n';
    while (!rest.isEmpty()) {
        if (!ready(socket.number(), POLLOUT, deadline))
            noAnswer();
        const ssize_t sent =
            ::send(socket.number(), rest.constData(), static_cast<std::size_t>(rest.size()), MSG_NOSIGNAL);
        if (sent <= 0)
            throw InstanceHungUp();
        rest.remove(0, sent);
    }
    QByteArray answer;
    char buffer[16384];
    while (ready(socket.number(), POLLIN, deadline)) {
        const ssize_t count = ::recv(socket.number(), buffer, sizeof buffer, 0);
        if (count <= 0)
            throw InstanceHungUp();
        answer.append(buffer, count);
        if (answer.endsWith('\n')) {
            answer.chop(1);
            return answer;
        }
        if (answer.size() > maxAnswerBytes)
            break;
    }
    noAnswer();
}

} // namespace vennic
