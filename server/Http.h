#pragma once
#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace vennic::server {

using HttpFields = QList<std::pair<QByteArray, QByteArray>>; // names in lower case

/// A request's first line and fields, known before its body is read.
struct RequestHead {
    QByteArray method;
    QByteArray path;  // as sent, without the query
    QByteArray query; // after the question mark
    HttpFields fields;
    QString remoteAddress;
    std::chrono::nanoseconds arrived{0}; // on TimeKeeper::elapsed

    /// The first field of that lower-case name, or a null array.
    QByteArray field(const char* name) const;
    /// A parameter of the query as a whole number, or `otherwise`.
    qint64 number(const char* name, qint64 otherwise) const;
};

/// How long and how much a connection may take.
struct HttpLimits {
    std::chrono::milliseconds head = std::chrono::seconds{10}; // for a request's head, and for the TLS greeting
    std::chrono::milliseconds body = std::chrono::seconds{30};
    std::chrono::milliseconds idle = std::chrono::seconds{120}; // between two requests
    std::chrono::milliseconds write = std::chrono::seconds{60};
    std::size_t connections = 256;
};

struct Response {
    int status = 200;
    QByteArray contentType; // empty: none, as for 204
    QByteArray body;
    HttpFields fields;
    /// Told once: whether the last byte was handed to the socket.
    std::function<void(bool sent)> ended;
};

/// Where one request is answered, once; any time later on the server's thread. Outlives its connection harmlessly.
class Exchange {
public:
    virtual ~Exchange() = default;
    virtual void respond(Response response) = 0;
    /// Called at most once, when the client goes away before it was answered or while it is sent events.
    virtual void onGone(std::function<void()> gone) = 0;
    /// Starts a text/event-stream answer.
    virtual void startEvents() = 0;
    /// One event; its data may have several lines, whose carriage returns are dropped. A reader that doesn't keep up
    /// is dropped.
    virtual void sendEvent(const QByteArray& name, const QByteArray& data) = 0;
    virtual void endEvents() = 0;
};

/// What a site makes of a request's head: how long its body may be, and what to do once it is here.
struct Admission {
    std::size_t bodyLimit = 0;
    std::function<void(std::string body, std::shared_ptr<Exchange>)> handle; // may raise HttpError
    std::function<void()> oversized; // may be empty; told that a body beyond the limit was refused
};

/// Judges a request by its head, before a byte of its body is read. Raises HttpError.
using Site = std::function<Admission(RequestHead)>;

Response jsonResponse(int status, QByteArray body);
Response emptyResponse(int status = 204);
/// The answer for any exception: HttpError as it says, all others 500 without details.
Response errorResponse(const std::exception& error);

} // namespace vennic::server
