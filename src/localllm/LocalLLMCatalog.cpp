#include "localllm/LocalLLMCatalog.h"

#include "base/Json.h"
#include "localllm/CuratedModels.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>

namespace vennic::LocalLLMCatalog {

namespace {

const QLatin1String folderPrefix("models--");

LocalLLMModel decodeModel(const QJsonObject& object) {
    LocalLLMModel model;
    model.id = requiredString(object, QLatin1String("id"));
    model.displayName = requiredString(object, QLatin1String("display_name"));
    model.sizeGB = requiredNumber(object, QLatin1String("size_gb"));
    model.ramGB = requiredNumber(object, QLatin1String("ram_gb"));
    model.approxTokensPerSec = requiredInteger(object, QLatin1String("tokens_per_sec"));
    model.description = optionalString(object, QLatin1String("description_fr"))
                            .value_or(QStringLiteral("Modele MLX curaté par Vennic."));
    model.familyTag = optionalString(object, QLatin1String("family")).value_or(QStringLiteral("Local"));
    return model;
}

std::vector<LocalLLMModel> decodeModels(const QByteArray& body) {
    std::vector<LocalLLMModel> models;
    const QJsonArray list = requiredArray(parseJsonObject(body), QLatin1String("models"));
    for (const QJsonValue element : list)
        models.push_back(decodeModel(objectOf(element)));
    return models;
}

bool hasSnapshot(const QString& folder) {
    return QDirIterator(folder + QStringLiteral("/snapshots"),
                        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
        .hasNext();
}

} // namespace

const std::vector<LocalLLMModel>& models() { return curatedModels(); }

std::optional<LocalLLMModel> model(const QString& id) { return model(id, models()); }

std::optional<LocalLLMModel> model(const QString& id, const std::vector<LocalLLMModel>& among) {
    const auto found = std::ranges::find(among, id, &LocalLLMModel::id);
    return found == among.end() ? std::nullopt : std::optional(*found);
}

QString hubFolder(const QString& home) { return home + QStringLiteral("/.cache/huggingface/hub"); }

QSet<QString> downloadedIds(const QString& home) {
    QSet<QString> ids;
    const QDir hub(hubFolder(home));
    for (const QString& name : hub.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!name.startsWith(folderPrefix) || !hasSnapshot(hub.filePath(name)))
            continue;
        ids.insert(name.mid(folderPrefix.size()).replace(QStringLiteral("--"), QStringLiteral("/")));
    }
    return ids;
}

qint64 deleteDownload(const QString& home, const QString& id, FolderUsage& usage) {
    const QString name = folderPrefix + QString(id).replace(u'/', QStringLiteral("--"));
    const QString folder = hubFolder(home) + u'/' + name;
    if (!QFileInfo(folder).exists())
        return 0;
    const qint64 bytes = usage.allocatedBytes(folder);
    usage.removeFolder(folder);
    return bytes;
}

Task<std::optional<std::vector<LocalLLMModel>>> fetchRemoteModels(VennicHTTP* http, const APIConfig* config) {
    HttpRequest request;
    request.url = config->endpointURL(QStringLiteral("/local_llm/catalog.json"));
    request.url.setUserInfo({});
    request.headers.push_back({"Accept", "application/json"});
    request.timeout = std::chrono::seconds{8};
    try {
        const HttpResponse response = co_await http->sharedData(std::move(request));
        if (!isSuccess(response.status))
            co_return std::nullopt;
        std::vector<LocalLLMModel> models = decodeModels(response.body);
        if (models.empty())
            co_return std::nullopt;
        co_return models;
    } catch (const LocalizedError&) {
        co_return std::nullopt;
    }
}

} // namespace vennic::LocalLLMCatalog
