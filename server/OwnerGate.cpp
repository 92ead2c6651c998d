#include "server/OwnerGate.h"

#include "server/HttpError.h"
#include "server/Secrets.h"
#include "server/TimeKeeper.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qint64 sessionMs = 12 * 3'600'000LL;
constexpr qsizetype mostSessions = 64;
constexpr auto cookieName = "__Host-vennic";

QByteArray cookie(const RequestHead& head) {
    for (const QByteArray& part : head.field("cookie").split(';')) {
        const QByteArray pair = part.trimmed();
        if (pair.startsWith(QByteArray(cookieName) + '='))
            return pair.mid(qsizetype(qstrlen(cookieName)) + 1);
    }
    return {};
}

QByteArray setCookie(const QByteArray& value, qint64 seconds) {
    return QByteArray(cookieName) + '=' + value + "; Path=/; Max-Age=" + QByteArray::number(seconds) +
           "; Secure; HttpOnly; SameSite=Strict";
}
} // namespace

OwnerGate::OwnerGate(const QByteArray& ownerKey, const TimeKeeper& time)
    : keyFingerprint_(fingerprint(ownerKey)), time_(time) {}

bool OwnerGate::isOwnerKey(const QByteArray& key) const { return equalSecrets(fingerprint(key), keyFingerprint_); }

void OwnerGate::admit(const RequestHead& head) {
    if (const QByteArray key = head.field("x-owner-key"); !key.isNull()) {
        if (isOwnerKey(key))
            return;
        throw HttpError(401, QStringLiteral("La clé du propriétaire n'est pas la bonne."));
    }
    const auto session = sessions_.constFind(fingerprint(cookie(head)));
    if (session == sessions_.constEnd() || *session <= time_.wallMs())
        throw HttpError(401, QStringLiteral("Connecte-toi d'abord avec la clé du propriétaire."));
    if (head.method == "GET" || head.method == "HEAD")
        return;
    // A form of another site can neither set this field nor hide where it comes from.
    const QByteArray origin = head.field("origin");
    if (head.field("x-vennic-console") != "1" || (!origin.isNull() && origin != "https://" + head.field("host")))
        throw HttpError(403, QStringLiteral("Cette demande ne vient pas de la console."));
}

QByteArray OwnerGate::openSession() {
    const qint64 now = time_.wallMs();
    sessions_.removeIf([now](auto session) { return session.value() <= now; });
    if (sessions_.size() >= mostSessions)
        sessions_.erase(std::min_element(sessions_.begin(), sessions_.end()));
    const QByteArray value = newSecret();
    sessions_.insert(fingerprint(value), now + sessionMs);
    return setCookie(value, sessionMs / 1000);
}

QByteArray OwnerGate::closeSession(const RequestHead& head) {
    sessions_.remove(fingerprint(cookie(head)));
    return setCookie({}, 0);
}

} // namespace vennic::server
