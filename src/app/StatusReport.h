#pragma once
#include "app/Client.h"

#include <QJsonArray>
#include <QJsonObject>

namespace vennic {

/// What `vennic status --json` prints.
QJsonObject statusData(Client& client);
/// The same for people, in French.
QString statusText(const QJsonObject& status);

/// The shared folders as objects of `id`, `name`, `path` and `found`.
QJsonArray sharesData(Client& client);

} // namespace vennic
