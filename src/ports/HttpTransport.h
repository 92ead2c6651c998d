#pragma once
#include "base/SecretText.h"
#include "base/Task.h"
#include "base/TransportError.h"

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace vennic {

struct HttpHeader {
    QByteArray name;
    QByteArray value; // control characters are dropped before it is sent
    bool operator==(const HttpHeader&) const = default;
};

struct SecretHttpHeader {
    QByteArray name;
    SecretText value;
};

/// The only certificates that a chain may end in. An empty list trusts nobody.
struct TrustAnchors {
    std::vector<QByteArray> ders; // X.509 certificates, DER
};

struct HttpRequest {
    QByteArray method = "GET";
    QUrl url{};
    std::vector<HttpHeader> headers{};
    std::vector<SecretHttpHeader> secretHeaders{};
    std::optional<QByteArray> body{};
    /// Longest silence on the wire (RFC 9110 has no such limit; it is ours).
    std::chrono::milliseconds timeout = std::chrono::seconds{60};
    /// How long the whole exchange may take, whatever comes; four times `timeout` when nothing is said. The time that a
    /// stream's reader keeps it waiting counts in neither.
    std::optional<std::chrono::milliseconds> deadline{};
    /// With anchors only they count; without, the system's trust store does. TLS 1.2 or higher either way.
    std::shared_ptr<const TrustAnchors> anchors{};
    qint64 maxAnswerBytes = 16LL * 1024 * 1024;
};

/// Whether an answer says that the request was carried out (RFC 9110, 15.3).
constexpr bool isSuccess(std::optional<int> status) { return status && *status >= 200 && *status <= 299; }

struct HttpResponse {
    std::optional<int> status; // none when the answer was not HTTP at all
    std::vector<HttpHeader> headers;
    QByteArray body;
};

/// An answer whose body is taken as it comes. Main thread only; its end ends the exchange.
class HttpStream {
public:
    virtual ~HttpStream() = default;
    /// None when the answer is not HTTP at all.
    virtual std::optional<int> status() const = 0;
    /// The next bytes of the body, at least one; none at its end. Raises TransportError, and Cancelled when the job is
    /// cancelled. One caller at a time.
    virtual Task<std::optional<QByteArray>> next() = 0;
};

/// Sends requests. No redirect is followed, no cookie kept, nothing sent twice, no header of its own but those that
/// HTTP requires. Main thread only.
class HttpTransport {
public:
    virtual ~HttpTransport() = default;
    /// Raises TransportError; Cancelled when the job is cancelled, which also ends the exchange.
    virtual Task<HttpResponse> send(HttpRequest request) = 0;
    /// The same, but hands the answer over as soon as its header is there.
    virtual Task<std::unique_ptr<HttpStream>> open(HttpRequest request) = 0;
};

} // namespace vennic
