#include "core/HallwardenAnchor.h"

#include <QUrlQuery>

namespace vennic {

namespace {

std::optional<QString> sectionOf(const QUrl& url) {
    for (const auto& [name, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded)) {
        if (name == QLatin1String("section"))
            return value;
    }
    return std::nullopt;
}

} // namespace

QLatin1String rawValue(HallwardenAnchor anchor) {
    switch (anchor) {
    case HallwardenAnchor::summary:
        break;
    case HallwardenAnchor::localRuntime:
        return QLatin1String("localRuntime");
    case HallwardenAnchor::secureAccess:
        return QLatin1String("secureAccess");
    case HallwardenAnchor::activity:
        return QLatin1String("activity");
    case HallwardenAnchor::approvals:
        return QLatin1String("approvals");
    }
    return QLatin1String("summary");
}

HallwardenAnchor hallwardenAnchor(const std::optional<QString>& section) {
    const QString word = section.value_or(QString()).toLower();
    if (word == QLatin1String("local") || word == QLatin1String("local_runtime"))
        return HallwardenAnchor::localRuntime;
    if (word == QLatin1String("secure") || word == QLatin1String("secure_access"))
        return HallwardenAnchor::secureAccess;
    if (word == QLatin1String("activity") || word == QLatin1String("audit"))
        return HallwardenAnchor::activity;
    if (word == QLatin1String("approvals"))
        return HallwardenAnchor::approvals;
    return HallwardenAnchor::summary;
}

std::optional<HallwardenAnchor> anchorOfDesktopDeepLink(const QUrl& url) {
    if (!url.isValid() || url.scheme().toLower() != QLatin1String("vennic"))
        return std::nullopt;
    const QString host = url.host().toLower();
    const QString path = url.path().toLower();
    if (host == QLatin1String("desktop") && path == QLatin1String("/hallwarden_panel"))
        return hallwardenAnchor(sectionOf(url));
    if (host == QLatin1String("local") && path == QLatin1String("/setup"))
        return HallwardenAnchor::localRuntime;
    return std::nullopt;
}

} // namespace vennic
