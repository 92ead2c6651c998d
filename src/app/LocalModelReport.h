#pragma once
#include "app/Client.h"

#include <QJsonObject>

namespace vennic {

/// How the local model stands: `enabled`, `endpoint`, `model` (the one that is asked for), `reachable`, `timed_out`,
/// `loaded_model`, `tokens_per_second`. A model that is switched off is not asked whether it is there; who reports
/// isn't kept for more than a second, and what wasn't known by then is told as `timed_out`.
Task<QJsonObject> localModelData(Client* client);
/// The same for people, in French, on one line.
QString localModelSentence(const QJsonObject& data);

/// Does what `vennic model` was asked for: `words` are its arguments. Raises LocalizedError.
void setUpLocalModel(AppSession& session, const QStringList& words);

} // namespace vennic
