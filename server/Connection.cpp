#include "server/Connection.h"

#include "server/HttpError.h"

#include <array>
#include <boost/asio/write.hpp>
#include <boost/beast/http/status.hpp>

namespace vennic::server {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using namespace std::chrono_literals;
using ErrorCode = boost::system::error_code;

namespace {
constexpr auto drainTime = 2s;
constexpr std::size_t headBytes = std::size_t{64} * 1024;
constexpr std::size_t readStep = std::size_t{16} * 1024;
constexpr std::size_t drainBytes = std::size_t{64} * 1024 * 1024;
constexpr std::size_t eventBacklog = std::size_t{1024} * 1024;

void appendField(std::string& head, const QByteArray& name, const QByteArray& value) {
    head.append(name.constData(), static_cast<std::size_t>(name.size())).append(": ");
    head.append(value.constData(), static_cast<std::size_t>(value.size())).append("\r\n");
}

std::string startOfHead(int status) {
    const auto reason = http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status)));
    std::string head = "HTTP/1.1 " + std::to_string(status) + " ";
    head.append(reason.data(), reason.size()).append("\r\n");
    return head;
}
} // namespace

/// The side of one request that handlers hold. An unanswered one answers 500 when it goes.
class Connection::Answer final : public Exchange {
public:
    explicit Answer(const std::shared_ptr<Connection>& connection) : connection_(connection) {}
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
    ~Answer() override {
        if (const auto connection = connection_.lock(); connection && !answered_)
            connection->respond(errorResponse(std::runtime_error("unanswered")));
    }
    void respond(Response response) override {
        if (answered_)
            return;
        answered_ = true;
        gone_ = nullptr;
        if (const auto connection = connection_.lock(); connection && connection->state_ == State::Handling)
            connection->respond(std::move(response));
        else if (response.ended)
            response.ended(false);
    }
    void onGone(std::function<void()> gone) override { gone_ = std::move(gone); }
    void startEvents() override {
        answered_ = true;
        if (const auto connection = connection_.lock(); connection && connection->state_ == State::Handling)
            connection->startEvents();
    }
    void sendEvent(const QByteArray& name, const QByteArray& data) override {
        const auto connection = connection_.lock();
        if (!connection || connection->state_ != State::Events)
            return;
        QByteArray lines = data;
        lines.replace('\r', QByteArray()).replace("\n", "\ndata: ");
        connection->queueEvent(("event: " + name + "\ndata: " + lines + "\n\n").toStdString(), name == "task");
    }
    void endEvents() override {
        gone_ = nullptr;
        const auto connection = connection_.lock();
        if (!connection || connection->state_ != State::Events)
            return;
        connection->endAfterEvents_ = true;
        connection->writeEvents();
    }
    void peerGone() {
        answered_ = true;
        if (const auto gone = std::exchange(gone_, nullptr))
            gone();
    }

private:
    std::weak_ptr<Connection> connection_;
    std::function<void()> gone_;
    bool answered_ = false;
};

Connection::Connection(Socket socket, asio::ssl::context& tls, Loop& loop, const Site& site, const HttpLimits& limits,
                       std::function<void(Connection*)> closed)
    : stream_(std::move(socket), tls), loop_(loop), site_(site), limits_(limits), closed_(std::move(closed)),
      buffer_(headBytes + readStep) {
    ErrorCode error;
    stream_.next_layer().set_option(asio::ip::tcp::no_delay(true), error);
    const auto remote = stream_.next_layer().remote_endpoint(error);
    if (!error)
        remoteAddress_ = QString::fromStdString(remote.address().to_string());
}

Connection::~Connection() = default;

void Connection::setDeadline(std::chrono::milliseconds limit, std::function<void()> then) {
    deadline_ = loop_.after(limit, std::move(then));
}

void Connection::start() {
    setDeadline(limits_.head, [this] { close(); });
    stream_.async_handshake(asio::ssl::stream_base::server, [self = shared_from_this()](const ErrorCode& error) {
        if (error || self->state_ == State::Closed)
            return self->close();
        self->setDeadline(self->limits_.head, [connection = self.get()] { connection->close(); });
        self->expectHead();
        self->readMore();
    });
}

void Connection::readMore() {
    if (reading_ || state_ == State::Closed)
        return;
    reading_ = true;
    stream_.async_read_some(
        buffer_.prepare(readStep),
        [self = shared_from_this()](const ErrorCode& error, std::size_t count) { self->onRead(error, count); });
}

void Connection::onRead(const ErrorCode& error, std::size_t count) {
    reading_ = false;
    if (state_ == State::Closed)
        return;
    if (error)
        return peerGone();
    if (state_ == State::Draining) {
        drained_ += count;
        if (drained_ > drainBytes)
            return close();
        return readMore();
    }
    const bool first = state_ == State::Head && buffer_.size() == 0;
    buffer_.commit(count);
    if (first && deadline_)
        setDeadline(limits_.head, [this] { close(); });
    // What comes while an answer is made is kept for afterwards, one read at most.
    if (state_ == State::Head || state_ == State::Body)
        feed();
}

void Connection::expectHead() {
    state_ = State::Head;
    parser_ = std::make_unique<Parser>();
    parser_->header_limit(headBytes);
    parser_->body_limit(boost::none); // until the site has seen the head
}

void Connection::nextRequest() {
    expectHead();
    outgoing_ = {};
    outgoingHead_.clear();
    admission_ = {};
    if (buffer_.size() > 0) {
        setDeadline(limits_.head, [this] { close(); });
        return feed();
    }
    setDeadline(limits_.idle, [this] { close(); });
    readMore();
}

void Connection::feed() {
    while (state_ == State::Head || state_ == State::Body) {
        ErrorCode error;
        if (state_ == State::Body && parser_->is_done())
            return bodyComplete();
        if (buffer_.size() == 0)
            return readMore();
        buffer_.consume(parser_->put(buffer_.data(), error));
        if (error == http::error::need_more)
            return readMore();
        if (error == http::error::header_limit || error == http::error::buffer_overflow)
            return refuse(HttpError(431, QStringLiteral("L'en-tête de la requête est trop long.")));
        if (error == http::error::body_limit)
            return refuseBody();
        if (error)
            return refuse(HttpError(400, QStringLiteral("La requête n'est pas du HTTP valide.")));
        if (state_ == State::Head && parser_->is_header_done())
            headComplete();
    }
}

void Connection::headComplete() {
    const auto& message = parser_->get();
    keepAlive_ = message.keep_alive();
    headOnly_ = message.method() == http::verb::head;
    RequestHead head;
    const auto method = message.method_string();
    head.method = QByteArray(method.data(), static_cast<qsizetype>(method.size()));
    const QByteArray target(message.target().data(), static_cast<qsizetype>(message.target().size()));
    const qsizetype mark = target.indexOf('?');
    head.path = mark < 0 ? target : target.left(mark);
    head.query = mark < 0 ? QByteArray{} : target.mid(mark + 1);
    for (const auto& field : message) {
        const auto name = field.name_string();
        const auto value = field.value();
        head.fields.append({QByteArray(name.data(), static_cast<qsizetype>(name.size())).toLower(),
                            QByteArray(value.data(), static_cast<qsizetype>(value.size()))});
    }
    head.remoteAddress = remoteAddress_;
    head.arrived = loop_.elapsed();
    const bool expectsContinue = head.field("expect").toLower() == "100-continue";
    try {
        admission_ = site_(std::move(head));
    } catch (const std::exception& error) {
        return refuse(error);
    }
    if (const auto length = parser_->content_length(); length && *length > admission_.bodyLimit)
        return refuseBody();
    parser_->body_limit(admission_.bodyLimit);
    state_ = State::Body;
    setDeadline(limits_.body, [this] {
        keepAlive_ = false;
        refuse(HttpError(408, QStringLiteral("Le corps de la requête a mis trop de temps à arriver.")));
    });
    if (expectsContinue && !parser_->is_done() && buffer_.size() == 0) {
        static constexpr std::string_view goOn = "HTTP/1.1 100 Continue\r\n\r\n";
        asio::async_write(stream_, asio::buffer(goOn),
                          [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                              if (error)
                                  self->close();
                          });
    }
}

void Connection::bodyComplete() {
    state_ = State::Handling;
    deadline_.reset();
    const auto answer = std::make_shared<Answer>(shared_from_this());
    answer_ = answer;
    std::string body = std::move(parser_->get().body());
    parser_.reset();
    if (buffer_.size() == 0)
        readMore();
    try {
        admission_.handle(std::move(body), answer);
    } catch (const std::exception& error) {
        answer->respond(errorResponse(error));
    }
}

void Connection::refuseBody() {
    try {
        if (admission_.oversized)
            admission_.oversized();
    } catch (const std::exception& error) {
        return refuse(error);
    }
    refuse(HttpError(413, QStringLiteral("Le corps de la requête est trop gros.")));
}

void Connection::refuse(const std::exception& error) {
    // What is left of the body is not read: the next request could not be found behind it.
    const bool unread = !parser_ || !parser_->is_done();
    keepAlive_ = keepAlive_ && !unread;
    state_ = State::Handling;
    respond(errorResponse(error));
}

void Connection::respond(Response response) {
    if (state_ != State::Handling) {
        if (response.ended)
            response.ended(false);
        return;
    }
    state_ = State::Writing;
    outgoing_ = std::move(response);
    keepAlive_ = keepAlive_ && !retired_;
    outgoingHead_ = startOfHead(outgoing_.status);
    if (!outgoing_.contentType.isEmpty())
        appendField(outgoingHead_, "Content-Type", outgoing_.contentType);
    if (outgoing_.status != 204 && outgoing_.status != 304)
        appendField(outgoingHead_, "Content-Length", QByteArray::number(outgoing_.body.size()));
    for (const auto& [name, value] : outgoing_.fields)
        appendField(outgoingHead_, name, value);
    appendField(outgoingHead_, "Connection", keepAlive_ ? "keep-alive" : "close");
    outgoingHead_ += "\r\n";
    if (headOnly_)
        outgoing_.body.clear();
    setDeadline(limits_.write, [this] { close(); });
    // One buffer for a small answer, so that it travels in one record and one packet.
    constexpr qsizetype joined = 8192;
    if (outgoing_.body.size() <= joined) {
        outgoingHead_.append(outgoing_.body.constData(), static_cast<std::size_t>(outgoing_.body.size()));
        outgoing_.body.clear();
    }
    const std::array<asio::const_buffer, 2> buffers{
        asio::buffer(outgoingHead_),
        asio::buffer(outgoing_.body.constData(), static_cast<std::size_t>(outgoing_.body.size()))};
    asio::async_write(stream_, buffers,
                      [self = shared_from_this()](const ErrorCode& error, std::size_t) { self->written(error); });
}

void Connection::written(const ErrorCode& error) {
    const bool sent = !error && state_ == State::Writing;
    if (const auto ended = std::exchange(outgoing_.ended, nullptr))
        ended(sent);
    if (state_ == State::Closed)
        return;
    if (!sent)
        return close();
    if (keepAlive_ && !retired_)
        return nextRequest();
    drain();
}

void Connection::startEvents() {
    state_ = State::Events;
    keepAlive_ = false;
    queueEvent(startOfHead(200) +
                   "Content-Type: text/event-stream\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n",
               true);
}

void Connection::queueEvent(std::string bytes, bool whole) {
    if (!whole && eventBytes_ > eventBacklog)
        return peerGone();
    eventBytes_ += bytes.size();
    events_.push_back(std::move(bytes));
    writeEvents();
}

void Connection::writeEvents() {
    if (writingEvents_ || state_ != State::Events)
        return;
    if (events_.empty()) {
        if (endAfterEvents_)
            return drain();
        // A comment now and then, so that a reader that has gone silently is noticed.
        constexpr auto quiet = 15s;
        return setDeadline(quiet, [this] { queueEvent(": \n\n", false); });
    }
    writingEvents_ = true;
    setDeadline(limits_.write, [this] { peerGone(); });
    asio::async_write(stream_, asio::buffer(events_.front()),
                      [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                          self->writingEvents_ = false;
                          if (self->state_ != State::Events)
                              return;
                          if (error)
                              return self->peerGone();
                          self->eventBytes_ -= self->events_.front().size();
                          self->events_.pop_front();
                          self->writeEvents();
                      });
}

void Connection::peerGone() {
    if (state_ == State::Writing) {
        // A client may close its side once it has asked; it still gets its answer.
        keepAlive_ = false;
        return;
    }
    const auto self = shared_from_this();
    const auto answer = answer_.lock();
    close();
    if (answer)
        answer->peerGone();
}

void Connection::drain() {
    if (state_ == State::Closed)
        return;
    state_ = State::Draining;
    buffer_.clear();
    setDeadline(drainTime, [this] { close(); });
    // Closing with unread bytes would reset the connection and might cost the client its answer.
    stream_.async_shutdown([self = shared_from_this()](const ErrorCode&) {
        ErrorCode ignored;
        if (self->state_ == State::Draining)
            self->stream_.next_layer().shutdown(Socket::shutdown_send, ignored);
        self->shutDown();
    });
}

void Connection::shutDown() {
    if (state_ != State::Draining || reading_)
        return;
    // Past the farewell the bytes are no TLS of interest any more: they are read off the bare socket and dropped.
    reading_ = true;
    buffer_.clear();
    stream_.next_layer().async_read_some(buffer_.prepare(readStep),
                                         [self = shared_from_this()](const ErrorCode& error, std::size_t count) {
                                             self->reading_ = false;
                                             self->drained_ += count;
                                             if (error || self->drained_ > drainBytes)
                                                 return self->close();
                                             self->shutDown();
                                         });
}

void Connection::retire() {
    retired_ = true;
    if (state_ == State::Greeting || state_ == State::Head || state_ == State::Body)
        close();
    else if (state_ == State::Events)
        peerGone();
}

void Connection::close() {
    if (state_ == State::Closed)
        return;
    const auto self = shared_from_this();
    state_ = State::Closed;
    deadline_.reset();
    ErrorCode ignored;
    stream_.next_layer().close(ignored);
    closed_(this);
}

} // namespace vennic::server
