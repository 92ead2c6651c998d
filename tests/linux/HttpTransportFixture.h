#pragma once
#include "linux/HttpTransportCurl.h"
#include "support/Answers.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic::test {

/// A TLS server of the test's own, and the transport that asks it.
class HttpTransportFixture : public testing::Test {
protected:
    HttpResponse send(HttpRequest request) {
        return await(transport_.send(std::move(request)), std::chrono::seconds{60});
    }
    /// The fault that the request ends in; none when an answer came.
    std::optional<TransportFault> faultOf(HttpRequest request) {
        try {
            send(std::move(request));
            return std::nullopt;
        } catch (const TransportError& error) {
            return error.fault();
        }
    }

    LoopbackServer server_;
    std::shared_ptr<const TrustAnchors> anchors_ = LoopbackServer::authority().anchors();
    HttpTransportCurl transport_;
};

} // namespace vennic::test
