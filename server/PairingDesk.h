#pragma once
#include "server/Accounts.h"
#include "server/AttemptLimit.h"

namespace vennic::server {

class TimeKeeper;

struct Pairing {
    QString code;
    qint64 expiresAt = 0;
};

struct ClaimedPairing {
    QByteArray token;
    QString email;
};

enum class PairingState { Waiting, Claimed, Expired };

/// Gives out pairing codes and takes each of them back once, within ten minutes.
class PairingDesk {
public:
    PairingDesk(Database& database, Accounts& accounts, const TimeKeeper& time)
        : database_(database), accounts_(accounts), time_(time) {}
    /// Raises HttpError 429 where twenty codes are waiting already.
    Pairing open(qint64 account);
    /// Raises HttpError: 401 unknown code, 422 used or expired one, 429 too many wrong ones.
    ClaimedPairing claim(const QString& code, const QString& clientKind, const QString& address);
    /// Raises HttpError 404 for an unknown code.
    PairingState state(qint64 account, const QString& code);

private:
    Database& database_;
    Accounts& accounts_;
    const TimeKeeper& time_;
    AttemptLimit limit_;
};

} // namespace vennic::server
