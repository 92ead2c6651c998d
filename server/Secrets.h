#pragma once
#include <QByteArray>
#include <QString>

namespace vennic::server {

/// 32 random bytes as 43 characters of base64url.
QByteArray newSecret();
/// Eight characters of an upper-case alphabet without those that look alike (40 bits, less a little).
QString newPairingCode();
/// SHA-256, the only form in which secrets are stored.
QByteArray fingerprint(const QByteArray& secret);
/// Compares in a time that tells nothing about where the first difference is.
bool equalSecrets(const QByteArray& a, const QByteArray& b);

} // namespace vennic::server
