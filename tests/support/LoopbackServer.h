#pragma once
#include "support/TestAuthority.h"

#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vennic::test {

/// One request as it arrived.
struct ReceivedRequest {
    QByteArray raw; // header and body, byte for byte
    QByteArray method;
    QByteArray target;
    std::vector<HttpHeader> headers;
    QByteArray body;
    int connection = 0; // counted from 1 in the order of arrival
    /// The value of the first header of that name (any case); a null array without one.
    QByteArray header(QByteArrayView name) const;
};

/// The server's side of one connection, used by a script on the connection's own thread.
class Wire {
public:
    virtual ~Wire() = default;
    /// The next request; none when the peer has gone.
    virtual std::optional<ReceivedRequest> receive() = 0;
    /// Whether the bytes could be handed over.
    virtual bool send(QByteArrayView bytes) = 0;
    /// The same beneath TLS.
    virtual bool sendRaw(QByteArrayView bytes) = 0;
    /// Ends the connection: with TLS's farewell, without it, or by a reset.
    virtual void close() = 0;
    virtual void cut() = 0;
    virtual void reset() = 0;
    /// Waits until the peer or the server leaves.
    virtual void hold() = 0;
    /// Waits; false when the server is ending.
    virtual bool pause(std::chrono::milliseconds duration) = 0;
};

/// Answers one request. The connection stays open unless the script ends it.
using AnswerScript = std::function<void(Wire&, const ReceivedRequest&)>;
/// Takes a whole connection, after the TLS handshake if there is one.
using ConnectionScript = std::function<void(Wire&)>;

enum class Greeting {
    handshake,     // the ordinary course
    closeAtOnce,   // hangs up before TLS
    resetAtOnce,   // resets before TLS
    silence,       // accepts and says nothing
    garbage,       // answers the hello with bytes that aren't TLS
    tls11Only,     // offers nothing above TLS 1.1
    closeInFlight, // reads the hello, then hangs up
};

struct LoopbackOptions {
    bool tls = true;
    Greeting greeting = Greeting::handshake;
    ServerCertificate certificate{}; // empty: one of LoopbackServer::authority() for localhost and 127.0.0.1
};

/// A scripted HTTP/1.1 server on 127.0.0.1, on a port of the system's choice, that can misbehave at every byte.
/// A thread for each connection; all have ended when the destructor returns. Without a script it answers 200 "ok".
class LoopbackServer {
public:
    explicit LoopbackServer(LoopbackOptions options = {});
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;
    ~LoopbackServer();

    /// The authority behind the certificates that servers have by default; one for the process.
    static const TestAuthority& authority();

    void onRequest(AnswerScript script);
    void onConnection(ConnectionScript script);

    quint16 port() const;
    QUrl url(const QString& pathAndQuery = QStringLiteral("/"),
             const QString& host = QStringLiteral("127.0.0.1")) const;

    /// What arrived so far, in order. Requests that arrived in part only are not counted.
    std::vector<ReceivedRequest> requests() const;
    int count(QByteArrayView method, QByteArrayView target) const;
    int connections() const;             // accepted so far
    int openConnections() const;         // whose script hasn't ended
    QByteArray offeredProtocols() const; // of the last handshake, in ALPN's form (RFC 7301)

private:
    struct Parts;
    class Connection;
    std::unique_ptr<Parts> parts_;
};

/// A port of 127.0.0.1 that refuses connections for as long as this object lives.
class RefusingPort {
public:
    RefusingPort();
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;
    ~RefusingPort();
    quint16 port() const { return port_; }

private:
    int socket_ = -1;
    quint16 port_ = 0;
};

} // namespace vennic::test
