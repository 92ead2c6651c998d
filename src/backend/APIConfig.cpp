#include "backend/APIConfig.h"

#include "core/Models.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qsizetype maxUrlLength = 64LL * 1024;

bool isInside(const QString& host, const QString& domain) {
    return host == domain || host.endsWith(QChar(u'.') + domain);
}

bool isAscii(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

/// What has been checked before it got here; failing now is a fault of this program.
QUrl checkedUrl(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        qFatal("an address of the backend can't be formed");
    return url;
}

} // namespace

std::optional<QString> sanitizeBaseURL(const std::optional<QString>& value, const QString& domain) {
    if (!value)
        return std::nullopt;
    QString trimmed = value->trimmed();
    // Letters beyond ASCII aren't part of a URL (RFC 3986), and not every reader of this text folds them alike.
    if (trimmed.isEmpty() || trimmed.size() > maxUrlLength || !isAscii(trimmed))
        return std::nullopt;
    const QUrl url(trimmed, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().toLower() != u"https")
        return std::nullopt;
    const QString host = url.host(QUrl::FullyEncoded).toLower();
    if (host.isEmpty() || !isInside(host, domain))
        return std::nullopt;
    return trimmed;
}

APIConfig::APIConfig(const KeyValueStore& store, Deployment deployment)
    : store_(store), deployment_(std::move(deployment)) {}

QString APIConfig::baseURL() const {
    const auto chosen = storedAs<QString>(store_, PreferenceKey::apiBaseURL);
    return sanitizeBaseURL(chosen, deployment_.backendDomain).value_or(deployment_.backendUrl);
}

QString APIConfig::apiRoot() const {
    const QString base = baseURL();
    QStringView root(base);
    while (root.startsWith(u'/'))
        root = root.sliced(1);
    while (root.endsWith(u'/'))
        root.chop(1);
    QString result = root.toString();
    if (!result.endsWith(u"/api/v1"))
        result += u"/api/v1";
    return result;
}

QUrl APIConfig::endpointURL(const QString& path) const { return checkedUrl(apiRoot() + path); }

QUrl APIConfig::userURL(qint64 id) const { return checkedUrl(baseURL() + QStringLiteral("/users/%1.json").arg(id)); }

QUrl APIConfig::bridgeNextTaskURL(qint64 wait) const {
    return endpointURL(QStringLiteral("/bridge/tasks/next?wait=%1").arg(std::clamp<qint64>(wait, 1, 30)));
}

QUrl APIConfig::recentDiscussionsURL(qint64 limit) const {
    return endpointURL(QStringLiteral("/discussions.json?limit=%1").arg(std::clamp<qint64>(limit, 1, 20)));
}

std::optional<QUrl> APIConfig::bridgeTaskURL(const QString& id) const {
    const QUrl collection = endpointURL(QStringLiteral("/bridge/tasks/"));
    if (id.size() > maxUrlLength)
        return std::nullopt;
    QUrl url(apiRoot() + QStringLiteral("/bridge/tasks/") + id, QUrl::StrictMode);
    const bool sameOrigin = url.scheme() == collection.scheme() &&
                            url.authority(QUrl::FullyEncoded) == collection.authority(QUrl::FullyEncoded);
    if (!url.isValid() || !sameOrigin)
        return std::nullopt;
    return url;
}

} // namespace vennic
