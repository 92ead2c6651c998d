#include "server/Secrets.h"

#include <QCryptographicHash>

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <stdexcept>

namespace vennic::server {

namespace {
constexpr QLatin1String pairingAlphabet("ABCDEFGHJKMNPQRSTUVWXYZ23456789");
constexpr int pairingCodeLength = 8;

QByteArray randomBytes(int count) {
    QByteArray bytes(count, Qt::Uninitialized);
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), count) != 1)
        throw std::runtime_error("no randomness");
    return bytes;
}
} // namespace

QByteArray newSecret() {
    return randomBytes(32).toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QString newPairingCode() {
    QString code;
    while (code.size() < pairingCodeLength) {
        const auto value = static_cast<unsigned char>(randomBytes(1).at(0));
        // Values past the last whole multiple would make the first letters likelier.
        if (value < 256 / pairingAlphabet.size() * pairingAlphabet.size())
            code += pairingAlphabet.at(value % pairingAlphabet.size());
    }
    return code;
}

QByteArray fingerprint(const QByteArray& secret) {
    return QCryptographicHash::hash(secret, QCryptographicHash::Sha256);
}

bool equalSecrets(const QByteArray& a, const QByteArray& b) {
    return a.size() == b.size() && CRYPTO_memcmp(a.constData(), b.constData(), static_cast<std::size_t>(a.size())) == 0;
}

} // namespace vennic::server
