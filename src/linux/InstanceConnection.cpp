#include "linux/InstanceConnection.h"

#include "base/SecretText.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace vennic {

namespace {
constexpr qsizetype maxRequestBytes = qsizetype{64} * 1024;
constexpr auto patience = std::chrono::seconds{10};
} // namespace

InstanceConnection::InstanceConnection(int descriptor, Instance::Handler handler, Ended ended)
    : descriptor_(descriptor), handler_(std::move(handler)), ended_(std::move(ended)),
      readable_(descriptor, QSocketNotifier::Read), writable_(descriptor, QSocketNotifier::Write) {
    writable_.setEnabled(false);
    QObject::connect(&readable_, &QSocketNotifier::activated, &readable_, [this] { read(); });
    QObject::connect(&writable_, &QSocketNotifier::activated, &writable_, [this] { write(); });
    patience_.setSingleShot(true);
    QObject::connect(&patience_, &QTimer::timeout, &patience_, [this] { end(); });
    patience_.start(patience);
}

InstanceConnection::~InstanceConnection() {
    readable_.setEnabled(false);
    writable_.setEnabled(false);
    ::close(descriptor_);
}

void InstanceConnection::read() {
    char buffer[16384];
    const ssize_t count = ::recv(descriptor_, buffer, sizeof buffer, 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0)
        return end();
    received_.append(buffer, count);
    const qsizetype newline = received_.indexOf('\n');
    if (newline > maxRequestBytes || (newline < 0 && received_.size() > maxRequestBytes))
        return end();
    if (newline < 0)
        return;
    patience_.stop();
    readable_.setEnabled(false);
    QByteArray request = received_.left(newline);
    wipe(received_); // it may hold a token
    scope_.start(answer(std::move(request)));
}

Task<> InstanceConnection::answer(QByteArray request) {
    pending_ = co_await handler_(std::move(request));
    pending_.replace('\n', ' ');
    pending_.append('\n');
    patience_.start(patience);
    // At once, so that a request that ends the program still gets its answer.
    write();
}

void InstanceConnection::write() {
    // Never empty here, so that the system can't answer 0.
    const ssize_t count =
        ::send(descriptor_, pending_.constData(), static_cast<std::size_t>(pending_.size()), MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR)
        return end();
    pending_.remove(0, std::max<ssize_t>(count, 0));
    if (pending_.isEmpty())
        return end();
    writable_.setEnabled(true);
}

void InstanceConnection::end() {
    readable_.setEnabled(false);
    writable_.setEnabled(false);
    patience_.stop();
    // The caller is a member of this: the owner lets go from the event loop.
    QMetaObject::invokeMethod(&context_, [this] { ended_(this); }, Qt::QueuedConnection);
}

} // namespace vennic
