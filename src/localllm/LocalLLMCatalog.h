#pragma once
#include "backend/APIConfig.h"
#include "backend/VennicHTTP.h"
#include "localllm/LocalLLMModel.h"
#include "ports/FolderUsage.h"

#include <QSet>

#include <optional>
#include <vector>

namespace vennic {

/// Which local models exist and which are on disk. The disk is the truth about what is downloaded: nothing is kept.
namespace LocalLLMCatalog {

/// The models that the program itself knows.
const std::vector<LocalLLMModel>& models();
/// The first of `models`, or of `among`, with that identifier.
std::optional<LocalLLMModel> model(const QString& id);
std::optional<LocalLLMModel> model(const QString& id, const std::vector<LocalLLMModel>& among);

/// Where downloads lie below a home directory: a folder "models--ID" each, the slashes of the identifier written "--".
QString hubFolder(const QString& home);
/// The identifiers of the downloads that came as far as a snapshot.
QSet<QString> downloadedIds(const QString& home);
/// Removes a download; the bytes that it took, 0 when there is none. Raises LocalizedError.
qint64 deleteDownload(const QString& home, const QString& id, FolderUsage& usage);

/// How many models a catalogue has at most.
inline constexpr std::size_t mostModels = 200;
/// GET /local_llm/catalog.json, without a token: the backend's list, which stands in for `models` as a whole. None
/// when it can't be had or is empty. A row without a credible identifier or size is left out, and so is all beyond
/// `mostModels`; what is read of a row is cut to what somebody would read, and is drawable.
Task<std::optional<std::vector<LocalLLMModel>>> fetchRemoteModels(VennicHTTP* http, const APIConfig* config);

} // namespace LocalLLMCatalog
} // namespace vennic
