#include "server/PairingDesk.h"

#include "server/Database.h"
#include "server/HttpError.h"
#include "server/Secrets.h"
#include "server/TimeKeeper.h"

namespace vennic::server {

namespace {
constexpr qint64 codeLifeMs = 10 * 60'000LL;
constexpr qint64 keptAfterMs = 24 * 3'600'000LL; // so that a late claim hears why it is refused
constexpr qint64 mostWaiting = 20;

// People type in lower case and with a gap in the middle.
QByteArray normalized(const QString& code) {
    QString plain = code.toUpper();
    plain.removeIf([](QChar c) { return c.isSpace() || c == u'-'; });
    return plain.toUtf8();
}
} // namespace

Pairing PairingDesk::open(qint64 account) {
    const qint64 now = time_.wallMs();
    database_.run("DELETE FROM pairings WHERE expires_at < ?", now - keptAfterMs);
    Query waiting = database_.query("SELECT count(*) FROM pairings WHERE account_id = ? AND claimed_at IS NULL AND "
                                    "expires_at > ?",
                                    account, now);
    waiting.next();
    if (waiting.integer(0) >= mostWaiting) {
        HttpError error(429, QStringLiteral("Trop de codes attendent déjà. Utilise-les ou patiente dix minutes."));
        error.retryAfterSeconds = static_cast<int>(codeLifeMs / 1000);
        throw error;
    }
    Pairing pairing{newPairingCode(), now + codeLifeMs};
    database_.run("INSERT INTO pairings(hash, account_id, expires_at) VALUES(?, ?, ?)",
                  fingerprint(pairing.code.toUtf8()), account, pairing.expiresAt);
    return pairing;
}

ClaimedPairing PairingDesk::claim(const QString& code, const QString& clientKind, const QString& address) {
    const qint64 now = time_.wallMs();
    if (limit_.isExhausted(address, now)) {
        HttpError error(429, QStringLiteral("Trop d'essais. Patiente une minute."));
        error.retryAfterSeconds = 60;
        throw error;
    }
    const QByteArray hash = fingerprint(normalized(code));
    qint64 account = 0;
    {
        Query row = database_.query("SELECT account_id, expires_at, claimed_at FROM pairings WHERE hash = ?", hash);
        if (!row.next()) {
            limit_.failed(address, now);
            throw HttpError(401, QStringLiteral("code inconnu"));
        }
        if (!row.isNull(2)) {
            limit_.failed(address, now);
            throw HttpError(422, QStringLiteral("code déjà utilisé"));
        }
        if (row.integer(1) <= now) {
            limit_.failed(address, now);
            throw HttpError(422, QStringLiteral("code expiré"));
        }
        account = row.integer(0);
    }
    // The client throws its code away once it holds the token: this commit must outlive a power cut.
    database_.script("PRAGMA synchronous=FULL");
    ClaimedPairing claimed;
    {
        Transaction transaction(database_);
        database_.run("UPDATE pairings SET claimed_at = ? WHERE hash = ?", now, hash);
        claimed.token = accounts_.issueToken(account, clientKind, now);
        transaction.commit();
    }
    database_.script("PRAGMA synchronous=NORMAL");
    claimed.email = accounts_.account(account).email;
    return claimed;
}

PairingState PairingDesk::state(qint64 account, const QString& code) {
    Query row = database_.query("SELECT expires_at, claimed_at FROM pairings WHERE hash = ? AND account_id = ?",
                                fingerprint(normalized(code)), account);
    if (!row.next())
        throw HttpError(404, QStringLiteral("Ce code n'existe pas."));
    if (!row.isNull(1))
        return PairingState::Claimed;
    return row.integer(0) <= time_.wallMs() ? PairingState::Expired : PairingState::Waiting;
}

} // namespace vennic::server
