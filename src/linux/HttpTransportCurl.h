#pragma once
#include "ports/HttpTransport.h"

namespace vennic {

class CurlLoop;
struct CurlTrust;

/// libcurl in Qt's event loop, HTTP/1.1 over kept-alive connections.
///
/// Connections are shared only between requests of the same trust. A request whose connection dies before an answer
/// is not repeated, except GET and HEAD, once. The proxies of the environment (https_proxy, http_proxy, no_proxy) are
/// honoured: TLS is made with the server through them, so that pins hold and a proxy sees none of our headers; the
/// machine's own addresses are always reached directly. Certificates that can't be decoded are passed over; when no
/// anchor is left the request fails with tlsRefused before anything reaches the network.
class HttpTransportCurl final : public HttpTransport {
public:
    /// `systemTrustFolder` holds the certificates of the system's trust store under their hashed names; several are
    /// separated by colons.
    explicit HttpTransportCurl(const QString& systemTrustFolder = usualTrustFolder());
    HttpTransportCurl(const HttpTransportCurl&) = delete;
    HttpTransportCurl& operator=(const HttpTransportCurl&) = delete;
    ~HttpTransportCurl() override;

    /// What the environment's SSL_CERT_DIR says (openssl-env(7)), else Debian's folder.
    static QString usualTrustFolder();

    Task<HttpResponse> send(HttpRequest request) override;
    Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override;

private:
    CurlTrust trustOf(const HttpRequest& request);
    QByteArray pemOf(const std::shared_ptr<const TrustAnchors>& anchors);

    QByteArray systemTrustFolder_;
    std::shared_ptr<CurlLoop> loop_;
    std::weak_ptr<const TrustAnchors> lastAnchors_; // whose PEM form is kept below
    QByteArray lastPem_;
};

} // namespace vennic
