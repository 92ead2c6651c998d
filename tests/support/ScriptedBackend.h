#pragma once
#include "backend/APIConfig.h"
#include "backend/VennicHTTP.h"
#include "fakes/HttpTransportFake.h"
#include "fakes/KeyValueStoreFake.h"

namespace vennic::test {

/// A backend that answers as its transport is told, and what a call to it takes: the base of fixtures.
struct ScriptedBackend {
    KeyValueStoreFake store;
    HttpTransportFake transport;
    VennicHTTP http{transport, QStringLiteral("api.vennic.test"), std::make_shared<const TrustAnchors>()};
    APIConfig config{store, Deployment{.backendUrl = QStringLiteral("https://api.vennic.test"),
                                       .backendDomain = QStringLiteral("vennic.test"),
                                       .apiHost = QStringLiteral("api.vennic.test"),
                                       .pairingPage = QStringLiteral("https://vennic.test/appairage"),
                                       .packageManagerSite = QStringLiteral("https://paquets.test")}};
    int authFailures = 0; // that were announced

    ScriptedBackend() {
        QObject::connect(&http.authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure,
                         [this] { ++authFailures; });
    }
};

} // namespace vennic::test
