#include "server/ModelServer.h"

#include "base/Json.h"
#include "server/CompletionReader.h"
#include "server/Handle.h"
#include "server/JsonText.h"
#include "server/MarkdownText.h"

#include <array>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

namespace vennic::server {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace ssl = boost::asio::ssl;
using ErrorCode = boost::system::error_code;

namespace {
constexpr std::uint64_t longestBody = std::uint64_t{32} * 1024 * 1024; // a chunk per character, and then some
constexpr std::uint32_t longestHead = 64U * 1024;
constexpr std::size_t readStep = std::size_t{16} * 1024;
constexpr qsizetype longestRefusal = 8192;

using Parser = http::response_parser<http::buffer_body>;
using Tls = ssl::stream<beast::tcp_stream>;

QByteArray bodyOf(const ModelAddress& address, const ModelRequest& request) {
    QString model = address.model.isEmpty() ? request.model : address.model;
    if (model.isEmpty())
        model = QStringLiteral("default");
    QJsonObject body{{QStringLiteral("model"), model},
                     {QStringLiteral("messages"), request.messages},
                     {QStringLiteral("stream"), true}};
    if (!request.tools.isEmpty())
        body.insert(QStringLiteral("tools"), request.tools);
    return jsonText(body);
}

/// The words of a refusal's body, where it has any.
QString refusalWords(const QByteArray& body) {
    try {
        const QJsonValue error = parseJsonObject(body).value(QLatin1String("error"));
        return error.isString() ? error.toString() : error[QLatin1String("message")].toString();
    } catch (const DecodingError&) {
        return {};
    }
}

ModelError refusal(unsigned status, const QByteArray& body) {
    constexpr unsigned badRequest = 400;
    constexpr unsigned unprocessable = 422;
    constexpr unsigned notImplemented = 501;
    const QString words = briefForeign(refusalWords(body));
    const QString sentence = QStringLiteral("Le serveur du modèle a refusé la demande (HTTP %1)").arg(status);
    return ModelError(sentence + (words.isEmpty() ? QStringLiteral(".") : QStringLiteral(" : ") + words),
                      status == badRequest || status == unprocessable || status == notImplemented);
}
} // namespace

struct ModelServer::Engine {
    ssl::context tls{ssl::context::tls_client};
};

/// One request on its way. The coroutine holds it until it has ended; the listener goes with the handle.
class ModelServer::Asking : public std::enable_shared_from_this<ModelServer::Asking> {
public:
    Asking(Loop& loop, const ModelLimits& limits, RoundListener listener)
        : limits_(limits), listener_(std::move(listener)), resolver_(loop.context()) {}

    void begin(Loop& loop, ssl::context& tls, const ModelAddress& address, const QByteArray& body) {
        fillRequest(address, body);
        limit_ = loop.after(limits_.whole, [weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->fail(ModelError(QStringLiteral("Le modèle n'a pas fini sa réponse à temps.")));
        });
        const auto self = shared_from_this();
        if (address.tls)
            asio::co_spawn(loop.context(), runTls(self, std::make_shared<Tls>(loop.context(), tls), address),
                           asio::detached);
        else
            asio::co_spawn(loop.context(), runPlain(self, std::make_shared<beast::tcp_stream>(loop.context()), address),
                           asio::detached);
    }

    void abandon() {
        over_ = true;
        limit_.reset();
        resolver_.cancel();
        if (const auto close = std::exchange(close_, nullptr))
            close();
    }

private:
    void fillRequest(const ModelAddress& address, const QByteArray& body) {
        const bool usualPort = address.port == (address.tls ? 443 : 80);
        const QString host = address.host.contains(u':') ? u'[' + address.host + u']' : address.host;
        request_.method(http::verb::post);
        request_.target(address.path.toStdString());
        request_.version(11);
        request_.keep_alive(false);
        request_.set(http::field::host,
                     (usualPort ? host : QStringLiteral("%1:%2").arg(host).arg(address.port)).toStdString());
        request_.set(http::field::content_type, "application/json");
        request_.set(http::field::accept, "text/event-stream");
        if (!address.key.isEmpty()) {
            const QByteArrayView key = address.key.reveal();
            request_.set(http::field::authorization,
                         "Bearer " + std::string(key.data(), static_cast<std::size_t>(key.size())));
        }
        request_.body() = body.toStdString();
        request_.prepare_payload();
    }

    static asio::awaitable<void> runPlain(std::shared_ptr<Asking> self, std::shared_ptr<beast::tcp_stream> stream,
                                          ModelAddress address) {
        self->close_ = [stream] { stream->close(); };
        try {
            co_await connect(self, stream, address);
            co_await exchange(self, stream, stream.get());
        } catch (const ModelError& error) {
            self->fail(error);
        } catch (const boost::system::system_error& error) {
            self->fail(unreachable(error.code()));
        }
    }

    static asio::awaitable<void> runTls(std::shared_ptr<Asking> self, std::shared_ptr<Tls> stream,
                                        ModelAddress address) {
        self->close_ = [stream] { stream->next_layer().close(); };
        try {
            const std::string host = address.host.toStdString();
            const std::shared_ptr<beast::tcp_stream> bare(stream, &stream->next_layer());
            co_await connect(self, bare, address);
            stream->set_verify_mode(ssl::verify_peer);
            stream->set_verify_callback(ssl::host_name_verification(host));
            SSL_set_tlsext_host_name(stream->native_handle(), host.c_str());
            bare->expires_after(self->limits_.connect);
            co_await stream->async_handshake(ssl::stream_base::client, asio::use_awaitable);
            co_await exchange(self, stream, bare.get());
        } catch (const ModelError& error) {
            self->fail(error);
        } catch (const boost::system::system_error& error) {
            self->fail(unreachable(error.code()));
        }
    }

    static asio::awaitable<void> connect(std::shared_ptr<Asking> self, std::shared_ptr<beast::tcp_stream> stream,
                                         ModelAddress address) {
        const auto places = co_await self->resolver_.async_resolve(address.host.toStdString(),
                                                                   std::to_string(address.port), asio::use_awaitable);
        if (self->over_)
            throw boost::system::system_error(asio::error::operation_aborted);
        stream->expires_after(self->limits_.connect);
        co_await stream->async_connect(places, asio::use_awaitable);
    }

    template <class Stream>
    static asio::awaitable<void> exchange(std::shared_ptr<Asking> self, std::shared_ptr<Stream> stream,
                                          beast::tcp_stream* bare) {
        bare->expires_after(self->limits_.silence);
        co_await http::async_write(*stream, self->request_, asio::use_awaitable);
        Parser parser;
        parser.header_limit(longestHead);
        parser.body_limit(longestBody);
        beast::flat_buffer buffer(longestHead + readStep);
        bare->expires_after(self->limits_.silence);
        co_await http::async_read_header(*stream, buffer, parser, asio::use_awaitable);
        const unsigned status = parser.get().result_int();
        CompletionReader reader;
        QByteArray refused;
        std::array<char, readStep> piece{};
        while (!parser.is_done() && !reader.isOver() && !self->over_) {
            parser.get().body().data = piece.data();
            parser.get().body().size = piece.size();
            bare->expires_after(self->limits_.silence);
            ErrorCode error;
            co_await http::async_read_some(*stream, buffer, parser, asio::redirect_error(asio::use_awaitable, error));
            const auto count = static_cast<qsizetype>(piece.size() - parser.get().body().size);
            if (self->over_)
                co_return;
            if (status != 200)
                refused.append(piece.data(), std::min(count, longestRefusal - refused.size()));
            else
                self->hear(reader.feed({piece.data(), count}));
            if (error == http::error::body_limit)
                throw ModelError(QStringLiteral("La réponse du modèle est trop longue."));
            const bool ended = error && error != http::error::need_buffer;
            if (ended && status == 200 && !reader.isOver())
                throw interrupted(error);
            if (ended || refused.size() >= longestRefusal)
                break;
        }
        if (status != 200)
            throw refusal(status, refused);
        // Without a length, a cut looks like an end: then the model itself must have told of its end.
        if (!reader.isOver() && parser.need_eof() && !reader.isConcluded())
            throw interrupted({});
        self->finish(reader.round());
    }

    void hear(const QString& delta) const {
        if (!over_ && !delta.isEmpty())
            listener_.said(delta);
    }

    void finish(const ModelRound& round) {
        if (over_)
            return;
        const auto done = listener_.done;
        abandon();
        done(round);
    }

    void fail(const ModelError& error) {
        if (over_)
            return;
        const auto failed = listener_.failed;
        abandon();
        failed(error);
    }

    static ModelError interrupted(const ErrorCode& error) {
        if (error == beast::error::timeout)
            return ModelError(QStringLiteral("Le modèle s'est tu au milieu de sa réponse."));
        return ModelError(QStringLiteral("Le serveur du modèle a coupé avant la fin de sa réponse."));
    }

    static ModelError unreachable(const ErrorCode& error) {
        if (error == beast::error::timeout)
            return ModelError(QStringLiteral("Le serveur du modèle n'a pas répondu à temps."));
        if (error.category() == asio::error::get_ssl_category())
            return ModelError(QStringLiteral(
                "La connexion sécurisée au serveur du modèle a échoué : son certificat n'est pas reconnu."));
        if (error == http::error::end_of_stream || error == asio::error::connection_reset)
            return interrupted(error);
        if (error.category() == http::make_error_code(http::error::end_of_stream).category())
            return ModelError(QStringLiteral("La réponse du serveur du modèle n'est pas lisible."));
        return ModelError(QStringLiteral("Le serveur du modèle est injoignable."));
    }

    ModelLimits limits_;
    RoundListener listener_;
    asio::ip::tcp::resolver resolver_;
    http::request<http::string_body> request_;
    std::function<void()> close_;
    TimeKeeper::Timer limit_;
    bool over_ = false;
};

ModelServer::ModelServer(Loop& loop, ModelAddress address, const ModelLimits& limits)
    : loop_(loop), address_(std::move(address)), limits_(limits), engine_(std::make_unique<Engine>()) {
    engine_->tls.set_default_verify_paths();
    SSL_CTX_set_min_proto_version(engine_->tls.native_handle(), TLS1_2_VERSION);
}

ModelServer::~ModelServer() = default;

std::shared_ptr<void> ModelServer::infer(const ModelRequest& request, RoundListener listener) {
    const auto asking = std::make_shared<Asking>(loop_, limits_, std::move(listener));
    asking->begin(loop_, engine_->tls, address_, bodyOf(address_, request));
    return handleOf(asking);
}

} // namespace vennic::server
