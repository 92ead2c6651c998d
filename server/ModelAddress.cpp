#include "server/ModelAddress.h"

#include "base/LocalizedError.h"

#include <QFile>
#include <QUrl>

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qsizetype longestUrl = 2048;
constexpr qint64 longestKey = 8192;

// A name under "localhost" never leaves the machine (RFC 6761, 6.3).
bool isLoopback(const QString& host) {
    return host == QLatin1String("localhost") || host == QLatin1String("::1") ||
           (host.startsWith(QLatin1String("127.")) &&
            std::all_of(host.begin(), host.end(), [](QChar c) { return c == u'.' || (c >= u'0' && c <= u'9'); }));
}
} // namespace

ModelAddress modelAddress(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    const bool tls = url.scheme() == QLatin1String("https");
    const QString host = url.host(QUrl::FullyEncoded).toLower();
    if (text.size() > longestUrl || !url.isValid() || host.isEmpty() || !url.userInfo().isEmpty() || url.hasQuery() ||
        url.hasFragment() || (!tls && url.scheme() != QLatin1String("http")))
        throw LocalizedError(
            QStringLiteral("--model-url attend une adresse comme https://modele.exemple/v1, sans nom ni paramètres."));
    if (!tls && !isLoopback(host))
        throw LocalizedError(QStringLiteral("--model-url n'accepte http que vers cette machine ; ailleurs, https."));
    ModelAddress address;
    address.host = host;
    address.tls = tls;
    address.port = static_cast<quint16>(url.port(tls ? 443 : 80));
    address.path = url.path(QUrl::FullyEncoded).toLatin1();
    while (address.path.endsWith('/'))
        address.path.chop(1);
    address.path += "/chat/completions";
    return address;
}

SecretText modelKey(const QString& name) {
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(QStringLiteral("Le fichier de la clé du modèle est illisible : %1").arg(name));
    QByteArray bytes = file.read(longestKey + 1);
    const SecretText key = SecretText(bytes).trimmed();
    const bool tooLong = bytes.size() > longestKey;
    wipe(bytes);
    const QByteArrayView text = key.reveal();
    // It goes into a header: a line end in it would begin another one.
    const bool printable = std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
    if (text.isEmpty() || tooLong || !printable)
        throw LocalizedError(
            QStringLiteral("Le fichier de la clé du modèle doit tenir une clé sur une ligne : %1").arg(name));
    return key;
}

} // namespace vennic::server
