#pragma once
#include "backend/AuthFailureNotification.h"
#include "ports/HttpTransport.h"

#include <QString>

#include <memory>

namespace vennic {

/// The HTTPS session that the token travels through. A request to the backend's API host trusts the pinned roots
/// and nothing else; any other host is judged by the system's trust store. Main thread only.
class VennicHTTP {
public:
    /// `apiHost` is lower case. `anchors` without a usable certificate make every request to it fail.
    VennicHTTP(HttpTransport& transport, QString apiHost, std::shared_ptr<const TrustAnchors> anchors);

    /// Sends; a 401 is an answer like any other. Raises TransportError and Cancelled.
    Task<HttpResponse> data(HttpRequest request);
    /// Sends a request that carries the token: a 401 is announced, then handed back as usual.
    Task<HttpResponse> vennicData(HttpRequest request);

    /// Requests outside the pinned session: any host is judged by the system's trust store, a 401 is an answer like
    /// any other.
    Task<HttpResponse> sharedData(HttpRequest request);
    Task<std::unique_ptr<HttpStream>> sharedStream(HttpRequest request);

    AuthFailureNotification& authFailure() { return authFailure_; }

private:
    HttpTransport& transport_;
    QString apiHost_;
    std::shared_ptr<const TrustAnchors> anchors_;
    AuthFailureNotification authFailure_;
};

} // namespace vennic
