#include "faults/FaultBackend.h"

#include "base/Json.h"
#include "support/Await.h"

namespace vennic::test {

namespace {

using namespace std::chrono_literals;

const char* name(TransportFault fault) {
    switch (fault) {
    case TransportFault::noNetwork:
        return "noNetwork";
    case TransportFault::nameNotFound:
        return "nameNotFound";
    case TransportFault::refused:
        return "refused";
    case TransportFault::timedOut:
        return "timedOut";
    case TransportFault::tlsRefused:
        return "tlsRefused";
    case TransportFault::cutOff:
        return "cutOff";
    case TransportFault::tooLarge:
        return "tooLarge";
    case TransportFault::badAnswer:
        return "badAnswer";
    case TransportFault::badRequest:
        return "badRequest";
    case TransportFault::cancelled:
        return "cancelled";
    }
    Q_UNREACHABLE();
}

} // namespace

LoopbackOptions backendServer(Greeting greeting, const TestAuthority& authority) {
    const TestAuthority::Wish wish{
        .names = {QStringLiteral("127.0.0.1"), QStringLiteral("api.localhost"), QStringLiteral("staging.localhost")}};
    return {.greeting = greeting, .certificate = authority.issue(wish)};
}

FaultBackend::FaultBackend(const LoopbackServer& server, const QString& systemTrustFolder,
                           std::shared_ptr<const TrustAnchors> anchors)
    : curl_(systemTrustFolder), anchors_(std::move(anchors)), port_(server.port()) {
    reach(QStringLiteral("api.localhost"), QStringLiteral("localhost"));
}

void FaultBackend::useAddress() { reach(QStringLiteral("127.0.0.1"), QStringLiteral("127.0.0.1")); }

void FaultBackend::reach(const QString& host, const QString& domain) {
    http_ = std::make_unique<VennicHTTP>(hurried_, host, anchors_);
    config_ = std::make_unique<APIConfig>(store,
                                          Deployment{.backendUrl = QStringLiteral("https://%1:%2").arg(host).arg(port_),
                                                     .backendDomain = domain,
                                                     .apiHost = host,
                                                     .pairingPage = {},
                                                     .packageManagerSite = {}});
    QObject::connect(&http_->authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure,
                     [this] { ++announcements; });
}

std::string FaultBackend::made(Call call) {
    const APIService api(*http_, *config_, token, headers);
    const auto limit = 60s;
    switch (call) {
    case Call::poll:
        return await(api.pollBridgeTask(25), limit) ? "done" : "nothing";
    case Call::update:
        await(api.reportBridgeTaskSuccess(QStringLiteral("t-1"), BridgeOkResult{.ok = true, .error = {}}), limit);
        return "done";
    case Call::revoke:
        await(api.revokeCurrentSession(), limit);
        return "done";
    case Call::claim:
        await(APIService::claimPairing(*http_, *config_, QStringLiteral("ABCD2345")), limit);
        return "done";
    }
    Q_UNREACHABLE();
}

std::string FaultBackend::outcome(Call call) {
    return outcomeOf([this, call] { return made(call); });
}

std::string FaultBackend::update(const QString& id) {
    return outcomeOf([this, &id] {
        const APIService api(*http_, *config_, token, headers);
        await(api.reportBridgeTaskError(id, QStringLiteral("non")));
        return std::string("done");
    });
}

std::string FaultBackend::outcomeOf(const std::function<std::string()>& make) {
    try {
        return make();
    } catch (const APIError& error) {
        if (error.kind() == APIError::Case::decoding)
            return "notHttp";
        return "http " + std::to_string(error.status()) + ' ' +
               error.message().value_or(QStringLiteral("-")).left(200).toStdString();
    } catch (const DecodingError&) {
        return "unreadable";
    } catch (const TransportError& error) {
        return name(error.fault());
    }
}

} // namespace vennic::test
