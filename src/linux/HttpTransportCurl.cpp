#include "linux/HttpTransportCurl.h"

#include "linux/CurlExchange.h"
#include "linux/CurlStream.h"

#include <QFile>

#include <openssl/x509.h>

namespace vennic {

namespace {

bool isCertificate(const QByteArray& der) {
    const auto* at = reinterpret_cast<const unsigned char*>(der.constData());
    X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
    X509_free(certificate);
    return certificate != nullptr;
}

QByteArray pemText(const TrustAnchors& anchors) {
    QByteArray pem;
    for (const QByteArray& der : anchors.ders) {
        if (!isCertificate(der))
            continue;
        const QByteArray base64 = der.toBase64();
        pem += "-----BEGIN CERTIFICATE-----\n";
        for (qsizetype at = 0; at < base64.size(); at += 64)
            pem += base64.mid(at, 64) + '\n';
        pem += "-----END CERTIFICATE-----\n";
    }
    return pem;
}

} // namespace

HttpTransportCurl::HttpTransportCurl(const QString& systemTrustFolder)
    : systemTrustFolder_(QFile::encodeName(systemTrustFolder)), loop_(std::make_shared<CurlLoop>()) {}

HttpTransportCurl::~HttpTransportCurl() = default;

QString HttpTransportCurl::usualTrustFolder() {
    const QString folders = QFile::decodeName(qgetenv("SSL_CERT_DIR"));
    return folders.isEmpty() ? QStringLiteral("/etc/ssl/certs") : folders;
}

QByteArray HttpTransportCurl::pemOf(const std::shared_ptr<const TrustAnchors>& anchors) {
    if (lastAnchors_.lock() != anchors) {
        lastPem_ = pemText(*anchors);
        lastAnchors_ = anchors;
    }
    return lastPem_;
}

CurlTrust HttpTransportCurl::trustOf(const HttpRequest& request) {
    CurlTrust trust;
    if (request.anchors)
        trust.anchorsPem = pemOf(request.anchors);
    else
        trust.systemFolder = systemTrustFolder_;
    return trust;
}

// An exchange keeps the loop alive: a caller that outlives the transport still gets its answer.

Task<HttpResponse> HttpTransportCurl::send(HttpRequest request) {
    CurlTrust trust = trustOf(request);
    CurlExchange exchange(loop_, std::move(request), std::move(trust));
    exchange.start();
    co_return co_await exchange.done();
}

Task<std::unique_ptr<HttpStream>> HttpTransportCurl::open(HttpRequest request) {
    CurlTrust trust = trustOf(request);
    auto stream = std::make_unique<CurlStream>(loop_, std::move(request), std::move(trust));
    stream->start();
    co_await stream->untilHead();
    co_return stream;
}

} // namespace vennic
