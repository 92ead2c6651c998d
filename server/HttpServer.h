#pragma once
#include "server/Http.h"

namespace vennic::server {

class Loop;

/// The certificate that the server shows, and its key (both PEM).
struct ServerIdentity {
    QByteArray certificate;
    QByteArray key;
};

/// Listens for TLS connections and hands their requests to a site. At most `limits.connections` at a time; past that,
/// the oldest one that is waiting for a request gives way.
class HttpServer {
public:
    HttpServer(Loop& loop, const ServerIdentity& identity, Site site, const HttpLimits& limits = {});
    ~HttpServer();
    /// Listens there; port 0 picks a free one. The port. Raises LocalizedError.
    quint16 listen(const QString& address, quint16 port);
    /// Takes no more connections and ends those without a request under way; the rest has two seconds. Calls `ended`
    /// when the last one is gone.
    void stop(std::function<void()> ended);

private:
    struct Engine;
    std::shared_ptr<Engine> engine_;
};

} // namespace vennic::server
