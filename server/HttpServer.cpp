#include "server/HttpServer.h"

#include "base/LocalizedError.h"
#include "server/Connection.h"

#include <algorithm>
#include <list>
#include <malloc.h>

namespace vennic::server {

namespace asio = boost::asio;
using asio::ip::tcp;
using ErrorCode = boost::system::error_code;

namespace {
int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char* offered,
                   unsigned int offeredLength, void*) {
    static constexpr unsigned char ours[] = "\x08http/1.1";
    auto* out = const_cast<unsigned char*>(*chosen);
    const bool agreed =
        SSL_select_next_proto(&out, length, ours, sizeof ours - 1, offered, offeredLength) == OPENSSL_NPN_NEGOTIATED;
    *chosen = out;
    return agreed ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_NOACK;
}
} // namespace

struct HttpServer::Engine : std::enable_shared_from_this<HttpServer::Engine> {
    Engine(Loop& loop_, Site site_, const HttpLimits& limits_)
        : loop(loop_), site(std::move(site_)), limits(limits_), acceptor(loop_.context()) {}

    void accept() {
        acceptor.async_accept([self = shared_from_this()](const ErrorCode& error, tcp::socket socket) {
            if (self->stopping)
                return;
            if (!error)
                self->take(std::move(socket));
            if (!error || error == asio::error::connection_aborted)
                return self->accept();
            // Out of descriptors or memory: the next attempt waits for some to come free.
            self->pause = self->loop.after(std::chrono::milliseconds{200}, [engine = self.get()] { engine->accept(); });
        });
    }

    void take(tcp::socket socket) {
        if (connections.size() >= limits.connections) {
            for (const auto& connection : connections) {
                if (connection->isWaiting()) {
                    const auto keep = connection;
                    keep->close();
                    break;
                }
            }
        }
        if (connections.size() >= limits.connections)
            return;
        const auto connection =
            std::make_shared<Connection>(std::move(socket), tls, loop, site, limits, [this](Connection* ended) {
                connections.remove_if([ended](const auto& each) { return each.get() == ended; });
                giveBack();
                if (stopping && connections.empty() && whenEmpty)
                    std::exchange(whenEmpty, nullptr)();
            });
        connections.push_back(connection);
        most = std::max(most, connections.size());
        connection->start();
    }

    // After a crowd the heap is full of holes that nothing else would hand back to the system.
    void giveBack() {
        constexpr std::size_t crowd = 32;
        if (most < crowd || connections.size() > most / 4)
            return;
        most = connections.size();
        malloc_trim(0);
    }

    Loop& loop;
    Site site;
    HttpLimits limits;
    asio::ssl::context tls{asio::ssl::context::tls_server};
    tcp::acceptor acceptor;
    std::list<std::shared_ptr<Connection>> connections; // oldest first
    std::size_t most = 0;                               // connections since the heap was last trimmed
    bool stopping = false;
    std::function<void()> whenEmpty;
    TimeKeeper::Timer pause;
};

HttpServer::HttpServer(Loop& loop, const ServerIdentity& identity, Site site, const HttpLimits& limits)
    : engine_(std::make_shared<Engine>(loop, std::move(site), limits)) {
    auto& tls = engine_->tls;
    tls.set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_sslv3 |
                    asio::ssl::context::no_tlsv1 | asio::ssl::context::no_tlsv1_1);
    SSL_CTX_set_options(tls.native_handle(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    SSL_CTX_set_mode(tls.native_handle(), SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set_alpn_select_cb(tls.native_handle(), chooseProtocol, nullptr);
    tls.use_certificate_chain(
        asio::buffer(identity.certificate.constData(), static_cast<std::size_t>(identity.certificate.size())));
    tls.use_private_key(asio::buffer(identity.key.constData(), static_cast<std::size_t>(identity.key.size())),
                        asio::ssl::context::pem);
}

HttpServer::~HttpServer() {
    engine_->stopping = true;
    engine_->whenEmpty = nullptr;
    while (!engine_->connections.empty()) {
        const auto connection = engine_->connections.front();
        connection->close();
    }
}

quint16 HttpServer::listen(const QString& address, quint16 port) {
    try {
        const tcp::endpoint endpoint(asio::ip::make_address(address.toStdString()), port);
        tcp::acceptor acceptor(engine_->loop.context());
        acceptor.open(endpoint.protocol());
        acceptor.set_option(tcp::acceptor::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
        engine_->acceptor = std::move(acceptor);
    } catch (const boost::system::system_error& error) {
        throw LocalizedError(QStringLiteral("Impossible d'écouter sur %1:%2 (%3).")
                                 .arg(address, QString::number(port), QString::fromStdString(error.code().message())));
    }
    engine_->accept();
    return engine_->acceptor.local_endpoint().port();
}

void HttpServer::stop(std::function<void()> ended) {
    engine_->stopping = true;
    ErrorCode ignored;
    engine_->acceptor.close(ignored);
    const auto connections = engine_->connections;
    for (const auto& connection : connections)
        connection->retire();
    if (engine_->connections.empty())
        return ended();
    engine_->whenEmpty = std::move(ended);
    engine_->pause = engine_->loop.after(std::chrono::seconds{2}, [engine = engine_.get()] {
        while (!engine->connections.empty()) {
            const auto connection = engine->connections.front();
            connection->close();
        }
    });
}

} // namespace vennic::server
