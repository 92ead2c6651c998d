#include "server/ModelAddress.h"

#include "base/LocalizedError.h"

#include <QFile>
#include <QUrl>

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qsizetype longestUrl = 2048;
constexpr qsizetype longestKey = 8192;

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
            QStringLiteral("L'adresse du modèle doit ressembler à https://modele.exemple/v1, sans nom ni paramètres."));
    if (!tls && !isLoopback(host))
        throw LocalizedError(
            QStringLiteral("L'adresse du modèle n'accepte http que vers la machine du serveur ; ailleurs, https."));
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

SecretText modelKey(const SecretText& text) {
    const QByteArrayView key = text.reveal();
    // It goes into a header: a line end in it would begin another one.
    const bool printable = std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < 0x7f; });
    if (key.isEmpty() || key.size() > longestKey || !printable)
        throw LocalizedError(QStringLiteral("La clé du modèle doit tenir sur une ligne, sans espace ni accent."));
    return text;
}

SecretText modelKeyIn(const QString& name) {
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(QStringLiteral("Le fichier de la clé du modèle est illisible : %1").arg(name));
    QByteArray bytes = file.read(longestKey + 2);
    const SecretText text = SecretText(bytes).trimmed();
    wipe(bytes);
    return modelKey(text);
}

QString modelName(const QString& text) {
    constexpr qsizetype longestName = 200;
    if (text.size() > longestName || !std::all_of(text.begin(), text.end(), [](QChar c) { return c.isPrint(); }))
        throw LocalizedError(QStringLiteral("Le nom du modèle doit tenir en 200 caractères visibles."));
    return text;
}

} // namespace vennic::server
