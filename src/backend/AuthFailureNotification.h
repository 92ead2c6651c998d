#pragma once
#include <QObject>

namespace vennic {

/// Announces that the backend answered 401 to a request that carried the token. Carries nothing.
class AuthFailureNotification : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    void post() { Q_EMIT VennicHTTPAuthFailure(); }

Q_SIGNALS:
    void VennicHTTPAuthFailure();
};

} // namespace vennic
