#include "support/LoopbackServer.h"

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <list>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace vennic::test {

namespace {

int boundSocket(quint16* port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("no loopback port could be bound");
    *port = ntohs(address.sin_port);
    return fd;
}

struct FreeContext {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};

std::unique_ptr<SSL_CTX, FreeContext> makeContext(const LoopbackOptions& options, const ServerCertificate& identity) {
    std::unique_ptr<SSL_CTX, FreeContext> context(SSL_CTX_new(TLS_server_method()));
    BIO* keyText = BIO_new_mem_buf(identity.key.constData(), static_cast<int>(identity.key.size()));
    BIO* certificateText =
        BIO_new_mem_buf(identity.certificate.constData(), static_cast<int>(identity.certificate.size()));
    EVP_PKEY* key = PEM_read_bio_PrivateKey(keyText, nullptr, nullptr, nullptr);
    X509* certificate = PEM_read_bio_X509(certificateText, nullptr, nullptr, nullptr);
    SSL_CTX_set_cipher_list(context.get(), "DEFAULT:@SECLEVEL=0");
    const bool good =
        SSL_CTX_use_certificate(context.get(), certificate) == 1 && SSL_CTX_use_PrivateKey(context.get(), key) == 1;
    EVP_PKEY_free(key);
    X509_free(certificate);
    BIO_free(keyText);
    BIO_free(certificateText);
    if (!good)
        throw std::runtime_error("the server's certificate was refused");
    if (options.greeting == Greeting::tls11Only) {
        SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
        SSL_CTX_set_max_proto_version(context.get(), TLS1_1_VERSION);
    }
    return context;
}

} // namespace

QByteArray ReceivedRequest::header(QByteArrayView name) const {
    for (const HttpHeader& header : headers) {
        if (header.name.compare(name, Qt::CaseInsensitive) == 0)
            return header.value;
    }
    return {};
}

struct LoopbackServer::Parts {
    LoopbackOptions options;
    std::unique_ptr<SSL_CTX, FreeContext> context;
    int listener = -1;
    quint16 port = 0;
    mutable std::mutex mutex;
    std::condition_variable stopped;
    bool stopping = false;
    AnswerScript answer;
    ConnectionScript connection;
    std::vector<ReceivedRequest> requests;
    std::list<std::shared_ptr<Connection>> live;
    QByteArray offeredProtocols;
    int accepted = 0;
    std::vector<std::thread> threads;
    std::thread acceptor;
};

class LoopbackServer::Connection final : public Wire {
public:
    Connection(Parts& parts, int fd, int number) : parts_(parts), fd_(fd), number_(number) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() override {
        SSL_free(ssl_);
        ::close(fd_);
    }

    void serve() {
        if (!greet())
            return;
        ConnectionScript script;
        {
            const std::lock_guard lock(parts_.mutex);
            script = parts_.connection;
        }
        if (script) {
            script(*this);
            return;
        }
        while (const auto request = receive()) {
            AnswerScript answer;
            {
                const std::lock_guard lock(parts_.mutex);
                answer = parts_.answer;
            }
            if (answer)
                answer(*this, *request);
            else
                send("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
        }
    }

    std::optional<ReceivedRequest> receive() override {
        if (ended_)
            return std::nullopt;
        qsizetype headEnd = -1;
        while ((headEnd = buffer_.indexOf("\r\n\r\n")) < 0) {
            if (!readMore())
                return std::nullopt;
        }
        ReceivedRequest request;
        request.connection = number_;
        const auto lines = buffer_.first(headEnd).split('\n');
        const auto words = lines.value(0).trimmed().split(' ');
        request.method = words.value(0);
        request.target = words.value(1);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            request.headers.push_back(
                {lines[i].first(std::max<qsizetype>(colon, 0)), lines[i].mid(colon + 1).trimmed()});
        }
        const qsizetype total = headEnd + 4 + request.header("Content-Length").toLongLong();
        while (buffer_.size() < total) {
            if (!readMore())
                return std::nullopt;
        }
        request.raw = buffer_.first(total);
        request.body = request.raw.mid(headEnd + 4);
        buffer_.remove(0, total);
        const std::lock_guard lock(parts_.mutex);
        parts_.requests.push_back(request);
        return request;
    }

    bool send(QByteArrayView bytes) override {
        if (!ssl_)
            return sendRaw(bytes);
        while (!bytes.isEmpty() && !ended_) {
            const int written =
                SSL_write(ssl_, bytes.data(), static_cast<int>(std::min<qsizetype>(bytes.size(), 1 << 20)));
            if (written <= 0)
                ended_ = true;
            else
                bytes = bytes.sliced(written);
        }
        return !ended_;
    }

    bool sendRaw(QByteArrayView bytes) override {
        while (!bytes.isEmpty() && !ended_) {
            const auto written = ::send(fd_, bytes.data(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
            if (written <= 0)
                ended_ = true;
            else
                bytes = bytes.sliced(written);
        }
        return !ended_;
    }

    void close() override {
        if (ssl_ && !ended_)
            SSL_shutdown(ssl_);
        cut();
    }
    void cut() override {
        ended_ = true;
        ::shutdown(fd_, SHUT_RDWR);
    }
    void reset() override {
        ended_ = true;
        // Aborts the connection now, where SO_LINGER would wait for the last holder of the descriptor.
        sockaddr nowhere{};
        nowhere.sa_family = AF_UNSPEC;
        (void)::connect(fd_, &nowhere, sizeof nowhere);
    }
    void hold() override {
        pollfd watched{fd_, POLLRDHUP, 0};
        while (poll(&watched, 1, -1) < 0 && errno == EINTR) {
        }
        ended_ = true;
    }
    bool pause(std::chrono::milliseconds duration) override {
        std::unique_lock lock(parts_.mutex);
        return !parts_.stopped.wait_for(lock, duration, [this] { return parts_.stopping; });
    }

private:
    bool greet() {
        switch (parts_.options.greeting) {
        case Greeting::closeAtOnce:
            cut();
            return false;
        case Greeting::resetAtOnce:
            reset();
            return false;
        case Greeting::silence:
            hold();
            return false;
        case Greeting::garbage:
            readHello();
            sendRaw("SSH-2.0-no-tls-here\r\n");
            hold();
            return false;
        case Greeting::closeInFlight:
            readHello();
            cut();
            return false;
        case Greeting::handshake:
        case Greeting::tls11Only:
            break;
        }
        if (!parts_.options.tls)
            return true;
        ssl_ = SSL_new(parts_.context.get());
        SSL_set_fd(ssl_, fd_);
        const bool good = SSL_accept(ssl_) == 1;
        ERR_clear_error();
        return good;
    }

    void readHello() const {
        std::array<char, 4096> bytes{};
        (void)!::recv(fd_, bytes.data(), bytes.size(), 0);
    }

    bool readMore() {
        std::array<char, 16384> bytes{};
        const auto got = ssl_ ? SSL_read(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                              : static_cast<int>(::recv(fd_, bytes.data(), bytes.size(), 0));
        if (got <= 0) {
            ended_ = true;
            ERR_clear_error();
            return false;
        }
        buffer_.append(bytes.data(), got);
        return true;
    }

    friend class LoopbackServer;
    Parts& parts_;
    int fd_;
    int number_;
    SSL* ssl_ = nullptr;
    QByteArray buffer_;
    std::atomic<bool> ended_ = false;
};

const TestAuthority& LoopbackServer::authority() {
    static const TestAuthority authority;
    return authority;
}

LoopbackServer::LoopbackServer(LoopbackOptions options) : parts_(std::make_unique<Parts>()) {
    parts_->options = std::move(options);
    if (parts_->options.tls) {
        const auto& given = parts_->options.certificate;
        parts_->context = makeContext(parts_->options, given.key.isEmpty() ? authority().issue() : given);
        SSL_CTX_set_alpn_select_cb(
            parts_->context.get(),
            [](SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
               unsigned offeredSize, void* self) {
                auto& parts = *static_cast<Parts*>(self);
                const std::lock_guard lock(parts.mutex);
                parts.offeredProtocols = QByteArray(reinterpret_cast<const char*>(offered), offeredSize);
                const qsizetype at = parts.offeredProtocols.indexOf("\x08http/1.1");
                if (at < 0)
                    return SSL_TLSEXT_ERR_NOACK;
                *chosen = offered + at + 1;
                *size = 8;
                return SSL_TLSEXT_ERR_OK;
            },
            parts_.get());
    }
    parts_->listener = boundSocket(&parts_->port);
    ::listen(parts_->listener, 64);
    parts_->acceptor = std::thread([parts = parts_.get()] {
        while (true) {
            const int fd = accept4(parts->listener, nullptr, nullptr, SOCK_CLOEXEC);
            const std::lock_guard lock(parts->mutex);
            if (fd < 0 || parts->stopping) {
                if (fd >= 0)
                    ::close(fd);
                return;
            }
            const int on = 1;
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            auto connection = std::make_shared<Connection>(*parts, fd, ++parts->accepted);
            parts->live.push_back(connection);
            parts->threads.emplace_back([parts, connection] {
                // OpenSSL writes without MSG_NOSIGNAL; only this thread, so that the client's own care is tested.
                sigset_t pipe;
                sigemptyset(&pipe);
                sigaddset(&pipe, SIGPIPE);
                pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
                connection->serve();
                connection->cut();
                const std::lock_guard guard(parts->mutex);
                parts->live.remove(connection);
            });
        }
    });
}

LoopbackServer::~LoopbackServer() {
    {
        const std::lock_guard lock(parts_->mutex);
        parts_->stopping = true;
        for (const auto& connection : parts_->live)
            ::shutdown(connection->fd_, SHUT_RDWR);
    }
    parts_->stopped.notify_all();
    ::shutdown(parts_->listener, SHUT_RDWR);
    parts_->acceptor.join();
    for (auto& thread : parts_->threads)
        thread.join();
    ::close(parts_->listener);
}

void LoopbackServer::onRequest(AnswerScript script) {
    const std::lock_guard lock(parts_->mutex);
    parts_->answer = std::move(script);
}

void LoopbackServer::onConnection(ConnectionScript script) {
    const std::lock_guard lock(parts_->mutex);
    parts_->connection = std::move(script);
}

quint16 LoopbackServer::port() const { return parts_->port; }

QUrl LoopbackServer::url(const QString& pathAndQuery, const QString& host) const {
    return QUrl(QStringLiteral("%1://%2:%3%4")
                    .arg(parts_->options.tls ? QStringLiteral("https") : QStringLiteral("http"), host)
                    .arg(parts_->port)
                    .arg(pathAndQuery));
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->requests;
}

int LoopbackServer::count(QByteArrayView method, QByteArrayView target) const {
    const std::lock_guard lock(parts_->mutex);
    return static_cast<int>(std::count_if(parts_->requests.begin(), parts_->requests.end(), [&](const auto& request) {
        return request.method == method && request.target == target;
    }));
}

int LoopbackServer::connections() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->accepted;
}

int LoopbackServer::openConnections() const {
    const std::lock_guard lock(parts_->mutex);
    return static_cast<int>(parts_->live.size());
}

QByteArray LoopbackServer::offeredProtocols() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->offeredProtocols;
}

RefusingPort::RefusingPort() : socket_(boundSocket(&port_)) {}

RefusingPort::~RefusingPort() { ::close(socket_); }

} // namespace vennic::test
