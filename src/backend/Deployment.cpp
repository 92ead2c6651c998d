#include "backend/Deployment.h"

#include "base/Json.h"
#include "base/SystemReason.h"

#include <QFile>
#include <QUrl>

#include <cerrno>

namespace vennic {

namespace {

constexpr qint64 maxFileBytes = 64LL * 1024;

[[noreturn]] void refuse(QLatin1String key, const QString& reason) {
    throw DeploymentError(QStringLiteral("Réglages de déploiement : « %1 » %2.").arg(key, reason));
}

QString text(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = object.value(key);
    if (!value.isString())
        refuse(key, QStringLiteral("manque ou n'est pas un texte"));
    QString text = value.toString();
    if (text.isEmpty())
        refuse(key, QStringLiteral("est vide"));
    return text;
}

QUrl webAddress(const QString& text, QLatin1String key) {
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != u"https" || url.host().isEmpty() || !url.userInfo().isEmpty())
        refuse(key, QStringLiteral("n'est pas une adresse https"));
    return url;
}

QString hostName(const QJsonObject& object, QLatin1String key) {
    QString name = text(object, key);
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setHost(name, QUrl::StrictMode);
    if (!url.isValid() || url.host(QUrl::FullyEncoded) != name)
        refuse(key, QStringLiteral("n'est pas un nom d'hôte en minuscules"));
    return name;
}

} // namespace

Deployment Deployment::parse(const QByteArray& json) {
    QJsonObject object;
    try {
        object = parseJsonObject(json);
    } catch (const DecodingError&) {
        throw DeploymentError(QStringLiteral("Réglages de déploiement : le fichier n'est pas un objet JSON."));
    }
    const QLatin1String backendUrlKey("backend_url");
    const QLatin1String apiHostKey("api_host");
    const QLatin1String pairingPageKey("pairing_page");
    const QLatin1String packageManagerSiteKey("package_manager_site");

    Deployment deployment;
    deployment.backendUrl = text(object, backendUrlKey);
    deployment.backendDomain = hostName(object, QLatin1String("backend_domain"));
    deployment.apiHost = hostName(object, apiHostKey);
    deployment.pairingPage = text(object, pairingPageKey);
    deployment.packageManagerSite = text(object, packageManagerSiteKey);

    const QUrl backend = webAddress(deployment.backendUrl, backendUrlKey);
    if (!backend.path().isEmpty() || backend.hasQuery() || backend.hasFragment())
        refuse(backendUrlKey, QStringLiteral("doit être une adresse sans chemin"));
    if (deployment.apiHost != deployment.backendDomain &&
        !deployment.apiHost.endsWith(QChar(u'.') + deployment.backendDomain))
        refuse(apiHostKey, QStringLiteral("n'appartient pas à « backend_domain »"));
    // Pins hold for the API host only: a default address elsewhere would go unpinned without a word.
    if (backend.host(QUrl::FullyEncoded) != deployment.apiHost)
        refuse(backendUrlKey, QStringLiteral("ne mène pas à l'hôte « api_host »"));
    webAddress(deployment.pairingPage, pairingPageKey);
    webAddress(deployment.packageManagerSite, packageManagerSiteKey);
    return deployment;
}

Deployment Deployment::load(const QString& path) {
    QFile file(path);
    errno = EISDIR; // which Qt finds out without a call that fails
    if (!file.open(QIODevice::ReadOnly)) {
        const QString reason = QString::fromStdString(systemReason(errno)); // Qt's own words are English
        throw DeploymentError(
            QStringLiteral("Réglages de déploiement : impossible de lire %1 (%2).").arg(path, reason));
    }
    const QByteArray bytes = file.read(maxFileBytes + 1);
    if (bytes.size() > maxFileBytes)
        throw DeploymentError(QStringLiteral("Réglages de déploiement : %1 dépasse 64 Kio.").arg(path));
    return parse(bytes);
}

} // namespace vennic
