#include "server/TlsPeer.h"

#include <QFile>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace vennic::server::test {

struct TlsPeer::Session {
    SSL_CTX* context = nullptr;
    SSL* tls = nullptr;
    int socket = -1;
    ~Session() {
        SSL_free(tls);
        SSL_CTX_free(context);
        if (socket >= 0)
            ::close(socket);
    }
};

TlsPeer::TlsPeer(quint16 port, const QString& authority) : session_(std::make_unique<Session>()) {
    session_->socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval patience{30, 0};
    setsockopt(session_->socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(session_->socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(session_->socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("connect");
    session_->context = SSL_CTX_new(TLS_client_method());
    SSL_CTX_load_verify_locations(session_->context, QFile::encodeName(authority).constData(), nullptr);
    SSL_CTX_set_verify(session_->context, SSL_VERIFY_PEER, nullptr);
    session_->tls = SSL_new(session_->context);
    SSL_set1_host(session_->tls, "localhost");
    SSL_set_fd(session_->tls, session_->socket);
    if (SSL_connect(session_->tls) != 1)
        throw std::runtime_error("TLS");
}

TlsPeer::~TlsPeer() = default;
TlsPeer::TlsPeer(TlsPeer&&) noexcept = default;

bool TlsPeer::send(const QByteArray& bytes) {
    return SSL_write(session_->tls, bytes.constData(), static_cast<int>(bytes.size())) == bytes.size();
}

bool TlsPeer::fill() {
    char piece[16384];
    const int count = SSL_read(session_->tls, piece, sizeof piece);
    if (count > 0)
        buffer_.append(piece, count);
    return count > 0;
}

Answer TlsPeer::read() {
    Answer answer;
    qsizetype end = -1;
    while ((end = buffer_.indexOf("\r\n\r\n")) < 0) {
        if (!fill())
            return answer;
    }
    answer.head = buffer_.left(end + 2);
    buffer_.remove(0, end + 4);
    answer.status = answer.head.mid(9, 3).toInt();
    const qsizetype at = answer.head.indexOf("Content-Length: ");
    const qsizetype length =
        at < 0 ? 0 : answer.head.mid(at + 16, answer.head.indexOf('\r', at) - at - 16).toLongLong();
    while (buffer_.size() < length && fill()) {
    }
    answer.body = buffer_.left(length);
    buffer_.remove(0, length);
    return answer;
}

QByteArray TlsPeer::readToEnd() {
    while (fill()) {
    }
    return std::exchange(buffer_, {});
}

QByteArray TlsPeer::readUntil(const QByteArray& text) {
    while (!buffer_.contains(text)) {
        if (!fill())
            break;
    }
    return std::exchange(buffer_, {});
}

QByteArray requestText(const QByteArray& method, const QByteArray& target, const QByteArray& fields,
                       const QByteArray& body) {
    return method + ' ' + target + " HTTP/1.1\r\nHost: localhost\r\n" + fields +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

Answer TlsPeer::request(const QByteArray& method, const QByteArray& target, const QByteArray& fields,
                        const QByteArray& body) {
    send(requestText(method, target, fields, body));
    return read();
}

void TlsPeer::hangUp() {
    const linger reset{1, 0};
    setsockopt(session_->socket, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    ::close(std::exchange(session_->socket, -1));
}

} // namespace vennic::server::test
