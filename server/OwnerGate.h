#pragma once
#include "server/Http.h"

#include <QHash>

namespace vennic::server {

class TimeKeeper;

/// Knows the owner: by the key itself, or by a console session that was opened with it. Sessions end with the process.
class OwnerGate {
public:
    OwnerGate(const QByteArray& ownerKey, const TimeKeeper& time);
    /// Raises HttpError: 401 for a stranger, 403 for a cookie request that another site may have caused.
    void admit(const RequestHead& head);
    bool isOwnerKey(const QByteArray& key) const;
    /// The Set-Cookie value of a new session, which lasts twelve hours.
    QByteArray openSession();
    /// Ends the session of the request's cookie; the Set-Cookie value that removes it.
    QByteArray closeSession(const RequestHead& head);

private:
    QByteArray keyFingerprint_;
    const TimeKeeper& time_;
    QHash<QByteArray, qint64> sessions_; // fingerprint of the cookie, end
};

} // namespace vennic::server
