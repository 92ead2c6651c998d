#pragma once
#include "app/Client.h"

#include <QJsonArray>
#include <QJsonObject>

namespace vennic {

/// What `vennic status --json` prints; `shares` are the client's, and so is `localModel` (localModelData).
QJsonObject statusData(Client& client, const std::vector<ResolvedShare>& shares, const QJsonObject& localModel);
/// The same for people, in French.
QString statusText(const QJsonObject& status);

/// The shared folders as objects of `id`, `name`, `path` and `found`.
QJsonArray sharesData(const std::vector<ResolvedShare>& shares);

} // namespace vennic
