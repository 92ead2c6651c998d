#pragma once
#include "app/Client.h"

#include <QJsonObject>

namespace vennic {

/// What `vennic photos status --json` prints: `access` ("undetermined", "allowed" or "denied"), `can_ask`, and how far
/// the library is.
QJsonObject photosData(Client& client);
/// The same for people, in French.
QString photosText(const QJsonObject& photos);
/// Who has decided, or can decide, of the access: one French sentence.
QString photosAccessSentence(const QJsonObject& photos);

} // namespace vennic
