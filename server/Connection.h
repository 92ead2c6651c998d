#pragma once
#include "server/Http.h"
#include "server/Loop.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <deque>

namespace vennic::server {

/// One TLS connection: reads one request after another, watches for the client's going away while an answer is being
/// made, and bounds every wait and every buffer.
class Connection final : public std::enable_shared_from_this<Connection> {
public:
    using Socket = boost::asio::ip::tcp::socket;
    Connection(Socket socket, boost::asio::ssl::context& tls, Loop& loop, const Site& site, const HttpLimits& limits,
               std::function<void(Connection*)> closed);
    ~Connection();
    void start();
    /// No further request is read; an answer that is under way is finished.
    void retire();
    /// Ends at once.
    void close();
    /// True while no complete head of a request has been received: such a connection may be given up for another.
    bool isWaiting() const { return state_ == State::Greeting || state_ == State::Head; }

private:
    class Answer;
    enum class State { Greeting, Head, Body, Handling, Writing, Events, Draining, Closed };
    using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

    void setDeadline(std::chrono::milliseconds limit, std::function<void()> then);
    void readMore();
    void onRead(const boost::system::error_code& error, std::size_t count);
    void expectHead();
    void nextRequest();
    void feed();
    void headComplete();
    void bodyComplete();
    void refuseBody();
    void refuse(const std::exception& error);
    void respond(Response response);
    void written(const boost::system::error_code& error);
    void startEvents();
    void queueEvent(std::string bytes, bool whole);
    void writeEvents();
    void peerGone();
    void drain();
    void shutDown();

    Socket::executor_type executor() { return stream_.get_executor(); }
    boost::asio::ssl::stream<Socket> stream_;
    Loop& loop_;
    const Site& site_;
    const HttpLimits& limits_;
    std::function<void(Connection*)> closed_;
    State state_ = State::Greeting;
    bool reading_ = false;
    bool retired_ = false;
    bool keepAlive_ = true;
    bool headOnly_ = false;
    bool endAfterEvents_ = false;
    bool writingEvents_ = false;
    std::size_t drained_ = 0;
    QString remoteAddress_;
    boost::beast::flat_buffer buffer_;
    std::unique_ptr<Parser> parser_; // while a request is read
    Admission admission_;
    std::weak_ptr<Answer> answer_;
    std::string outgoingHead_;
    Response outgoing_;
    std::deque<std::string> events_;
    std::size_t eventBytes_ = 0;
    TimeKeeper::Timer deadline_;
};

} // namespace vennic::server
