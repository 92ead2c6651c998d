#pragma once
#include "backend/APIConfig.h"
#include "backend/APIService.h"
#include "fakes/KeyValueStoreFake.h"
#include "faults/FaultRows.h"
#include "linux/HttpTransportCurl.h"

namespace vennic::test {

/// Makes time-outs short, so that a test needn't wait for them.
class HurriedTransport final : public HttpTransport {
public:
    explicit HurriedTransport(HttpTransport& transport) : transport_(transport) {}
    Task<HttpResponse> send(HttpRequest request) override {
        if (hurried)
            request.timeout /= factor;
        return transport_.send(std::move(request));
    }
    Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override {
        if (hurried)
            request.timeout /= factor;
        return transport_.open(std::move(request));
    }
    bool hurried = false;
    int factor = 50;

private:
    HttpTransport& transport_;
};

/// A server at 127.0.0.1, api.localhost and staging.localhost, with a certificate of `authority`.
LoopbackOptions backendServer(Greeting greeting = Greeting::handshake,
                              const TestAuthority& authority = LoopbackServer::authority());

/// The backend client over real TLS against a server on loopback, whose root is pinned. Its API host is api.localhost
/// below the domain localhost.
class FaultBackend {
public:
    explicit FaultBackend(const LoopbackServer& server, const QString& systemTrustFolder = {},
                          std::shared_ptr<const TrustAnchors> anchors = LoopbackServer::authority().anchors());

    /// Reaches the server by its one address instead: a name has two, and the failure of the second covers the first's.
    void useAddress();

    /// Makes the call and says how it ended: "done", "nothing" (a poll without a task), "http STATUS TEXT" ("-" for no
    /// text), "notHttp", "unreadable", or the name of the transport's fault.
    std::string outcome(Call call);
    /// The same of an answer to the task `id`.
    std::string update(const QString& id);

    KeyValueStoreFake store;
    int announcements = 0; // of a 401
    SecretText token{"s3cret"};
    APIService::BridgeHeaders headers{{"X-Bridge-Device-Id", "D"}, {"X-Bridge-Device-Nickname", "atelier"}};

    void hurry(bool on) { hurried_.hurried = on; }

private:
    void reach(const QString& host, const QString& domain);
    std::string made(Call call);
    std::string outcomeOf(const std::function<std::string()>& make);

    HttpTransportCurl curl_;
    HurriedTransport hurried_{curl_};
    std::shared_ptr<const TrustAnchors> anchors_;
    quint16 port_;
    std::unique_ptr<VennicHTTP> http_;
    std::unique_ptr<APIConfig> config_;
};

} // namespace vennic::test
