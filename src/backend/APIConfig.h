#pragma once
#include "backend/Deployment.h"
#include "ports/KeyValueStore.h"

#include <QUrl>

namespace vennic {

/// Where the backend is. The override `apiBaseURL` is read at each use, so that a change counts from the next
/// request on.
class APIConfig {
public:
    APIConfig(const KeyValueStore& store, Deployment deployment);

    const Deployment& deployment() const { return deployment_; }
    /// The override if it is safe, else the deployment's backend.
    QString baseURL() const;
    /// The base URL without slashes at its ends, plus "/api/v1" unless it ends so already.
    QString apiRoot() const;
    /// The API root plus `path`, which begins with a slash.
    QUrl endpointURL(const QString& path) const;
    /// The base URL, as it stands, plus "/users/ID.json": the one URL outside the API root.
    QUrl userURL(qint64 id) const;
    /// `wait` in seconds, clamped into 1 to 30.
    QUrl bridgeNextTaskURL(qint64 wait) const;
    /// `limit` clamped into 1 to 20.
    QUrl recentDiscussionsURL(qint64 limit) const;
    /// The URL that answers a task; none when the id can't stand in a URL, is longer than 64 KiB, or would lead
    /// anywhere but to the backend.
    std::optional<QUrl> bridgeTaskURL(const QString& id) const;

private:
    const KeyValueStore& store_;
    Deployment deployment_;
};

/// `value` trimmed, if it is an https URL whose host is `domain` or lies below it; else none. `domain` is lower case.
std::optional<QString> sanitizeBaseURL(const std::optional<QString>& value, const QString& domain);

} // namespace vennic
