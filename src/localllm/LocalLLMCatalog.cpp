#include "localllm/LocalLLMCatalog.h"

#include "base/Json.h"
#include "base/ShownText.h"
#include "localllm/CuratedModels.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>
#include <cmath>

namespace vennic::LocalLLMCatalog {

namespace {

const QLatin1String folderPrefix("models--");

constexpr qint64 mostCatalogBytes = 1024 * 1024;
constexpr qsizetype longestName = 120;        // UTF-16 code units
constexpr qsizetype longestDescription = 500; // the same
constexpr double mostGB = 1e6;

/// A line of the backend's, as a row of the catalogue shows it.
QString lineOf(const QString& text, qsizetype longest) {
    QString line = shownText(text, longest);
    std::ranges::replace_if(line, [](QChar c) { return c == u'\n' || c == u'\r' || c == u'\t'; }, QChar(u' '));
    return drawableLine(line);
}

LocalLLMModel decodeModel(const QJsonObject& object) {
    LocalLLMModel model;
    model.id = requiredString(object, QLatin1String("id"));
    model.displayName = lineOf(requiredString(object, QLatin1String("display_name")), longestName);
    model.sizeGB = requiredNumber(object, QLatin1String("size_gb"));
    model.ramGB = requiredNumber(object, QLatin1String("ram_gb"));
    model.approxTokensPerSec = requiredInteger(object, QLatin1String("tokens_per_sec"));
    model.description = lineOf(optionalString(object, QLatin1String("description_fr"))
                                   .value_or(QStringLiteral("Modele MLX curaté par Vennic.")),
                               longestDescription);
    model.familyTag =
        lineOf(optionalString(object, QLatin1String("family")).value_or(QStringLiteral("Local")), longestName);
    return model;
}

/// Whether a row tells of a model at all. Its identifier is asked for as it stands, so nothing in it is mended.
bool isCredible(const LocalLLMModel& model) {
    const auto isSize = [](double gigabytes) { return std::abs(gigabytes) <= mostGB; };
    return isModelId(model.id) && isSize(model.sizeGB) && isSize(model.ramGB);
}

std::vector<LocalLLMModel> decodeModels(const QByteArray& body) {
    std::vector<LocalLLMModel> models;
    const QJsonArray list = requiredArray(parseJsonObject(body), QLatin1String("models"));
    for (auto row = list.begin(); row != list.end() && models.size() < mostModels; ++row) {
        if (LocalLLMModel model = decodeModel(objectOf(*row)); isCredible(model))
            models.push_back(std::move(model));
    }
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
    request.maxAnswerBytes = mostCatalogBytes;
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
