#include "backend/VennicHTTP.h"

namespace vennic {

VennicHTTP::VennicHTTP(HttpTransport& transport, QString apiHost, std::shared_ptr<const TrustAnchors> anchors)
    : transport_(transport), apiHost_(std::move(apiHost)), anchors_(std::move(anchors)) {
    if (!anchors_)
        anchors_ = std::make_shared<const TrustAnchors>();
}

Task<HttpResponse> VennicHTTP::data(HttpRequest request) {
    request.anchors = nullptr;
    if (request.url.host(QUrl::FullyEncoded).toLower() == apiHost_)
        request.anchors = anchors_;
    return transport_.send(std::move(request));
}

Task<HttpResponse> VennicHTTP::vennicData(HttpRequest request) {
    auto response = co_await data(std::move(request));
    if (response.status == 401)
        authFailure_.post();
    co_return response;
}

Task<HttpResponse> VennicHTTP::sharedData(HttpRequest request) {
    request.anchors = nullptr;
    return transport_.send(std::move(request));
}

Task<std::unique_ptr<HttpStream>> VennicHTTP::sharedStream(HttpRequest request) {
    request.anchors = nullptr;
    return transport_.open(std::move(request));
}

} // namespace vennic
