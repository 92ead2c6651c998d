#include "Bridge/BridgeTypes.h"

#include "base/Json.h"
#include "base/JsonText.h"

#include <cmath>
#include <concepts>

namespace vennic {

namespace {

constexpr std::array<QLatin1String, 13> rawValues{
    QLatin1String("search"),    QLatin1String("read"),          QLatin1String("list_folders"),
    QLatin1String("list_dir"),  QLatin1String("photos_recent"), QLatin1String("photos_by_date"),
    QLatin1String("app_open"),  QLatin1String("shortcut_run"),  QLatin1String("shortcut_list"),
    QLatin1String("ocr_image"), QLatin1String("open_document"), QLatin1String("thumbnail"),
    QLatin1String("llm_infer"),
};
constexpr std::array caseNames = {
    QLatin1String("search"),   QLatin1String("read"),         QLatin1String("listFolders"),
    QLatin1String("listDir"),  QLatin1String("photosRecent"), QLatin1String("photosByDate"),
    QLatin1String("appOpen"),  QLatin1String("shortcutRun"),  QLatin1String("shortcutList"),
    QLatin1String("ocrImage"), QLatin1String("openDocument"), QLatin1String("thumbnail"),
    QLatin1String("llmInfer"),
};
static_assert(caseNames.size() == rawValues.size());
static_assert(rawValues.size() == std::variant_size_v<BridgeTask::Args>);

/// A record to read into or a constant one to write from.
template <class T, class Record>
concept Is = std::same_as<std::remove_const_t<T>, Record>;

// Each record's fields stand once, for both directions: `code(key, field)` reads or writes one.
void fields(const auto& code, Is<SearchArgs> auto& args) {
    code("query", args.query);
    code("folder_hints", args.folderHints);
    code("limit", args.limit);
}
void fields(const auto& code, Is<ReadArgs> auto& args) {
    code("document_id", args.documentId);
    code("max_chars", args.maxChars);
}
void fields(const auto&, Is<ListFoldersArgs> auto&) {}
void fields(const auto& code, Is<ListDirArgs> auto& args) {
    code("folder_id", args.folderId);
    code("sub_path", args.subPath);
}
void fields(const auto& code, Is<PhotosRecentArgs> auto& args) { code("limit", args.limit); }
void fields(const auto& code, Is<PhotosByDateArgs> auto& args) {
    code("year", args.year);
    code("month", args.month);
    code("limit", args.limit);
}
void fields(const auto& code, Is<AppOpenArgs> auto& args) { code("name", args.name); }
void fields(const auto& code, Is<ShortcutRunArgs> auto& args) {
    code("name", args.name);
    code("input", args.input);
}
void fields(const auto&, Is<ShortcutListArgs> auto&) {}
void fields(const auto& code, Is<OcrImageArgs> auto& args) { code("document_id", args.documentId); }
void fields(const auto& code, Is<OpenDocumentArgs> auto& args) { code("document_id", args.documentId); }
void fields(const auto& code, Is<ThumbnailArgs> auto& args) {
    code("document_id", args.documentId);
    code("max_edge", args.maxEdge);
}
void fields(const auto& code, Is<LLMInferArgs> auto& args) { code("openai_body_json", args.openaiBodyJson); }

void fields(const auto& code, Is<BridgeSearchResult::Item> auto& item) {
    code("id", item.id);
    code("name", item.name);
    code("mime", item.mime);
    code("size", item.size);
    code("modified_at", item.modified_at);
    code("parent", item.parent);
    code("is_remote", item.is_remote);
}
void fields(const auto& code, Is<BridgeSearchResult> auto& result) { code("items", result.items); }
void fields(const auto& code, Is<BridgeReadResult> auto& result) {
    code("content", result.content);
    code("truncated", result.truncated);
    code("bytes_read", result.bytes_read);
}
void fields(const auto& code, Is<BridgeListFoldersResult::Folder> auto& folder) {
    code("id", folder.id);
    code("name", folder.name);
    code("path_display", folder.path_display);
    code("is_remote", folder.is_remote);
}
void fields(const auto& code, Is<BridgeListFoldersResult> auto& result) { code("folders", result.folders); }
void fields(const auto& code, Is<BridgeListDirResult::Item> auto& item) {
    code("id", item.id);
    code("name", item.name);
    code("type", item.type);
    code("mime", item.mime);
    code("size", item.size);
    code("modified_at", item.modified_at);
    code("sub_path", item.sub_path);
}
void fields(const auto& code, Is<BridgeListDirResult> auto& result) {
    code("items", result.items);
    code("folder_id", result.folder_id);
    code("sub_path", result.sub_path);
}
void fields(const auto& code, Is<BridgePhotosResult::Location> auto& location) {
    code("lat", location.lat);
    code("lng", location.lng);
}
void fields(const auto& code, Is<BridgePhotosResult::Item> auto& item) {
    code("id", item.id);
    code("name", item.name);
    code("taken_at", item.taken_at);
    code("mime", item.mime);
    code("location", item.location);
}
void fields(const auto& code, Is<BridgePhotosResult> auto& result) { code("items", result.items); }
void fields(const auto& code, Is<BridgeOkResult> auto& result) {
    code("ok", result.ok);
    code("error", result.error);
}
void fields(const auto& code, Is<BridgeShortcutRunResult> auto& result) { code("output", result.output); }
void fields(const auto& code, Is<BridgeShortcutListResult> auto& result) { code("shortcuts", result.shortcuts); }
void fields(const auto& code, Is<BridgeOcrResult> auto& result) {
    code("text", result.text);
    code("languages", result.languages);
    code("bytes_processed", result.bytes_processed);
}
void fields(const auto& code, Is<BridgeThumbnailResult> auto& result) {
    code("data_base64", result.data_base64);
    code("mime", result.mime);
    code("width", result.width);
    code("height", result.height);
}
void fields(const auto& code, Is<BridgeLLMInferResult> auto& result) {
    code("response_json", result.response_json);
    code("model_used", result.model_used);
    code("latency_ms", result.latency_ms);
}

/// Fills a record's fields from an object.
struct Reading {
    const QJsonObject& object;

    void operator()(const char* key, QString& field) const { field = requiredString(object, QLatin1String(key)); }
    void operator()(const char* key, qint64& field) const { field = requiredInteger(object, QLatin1String(key)); }
    void operator()(const char* key, bool& field) const { field = requiredBoolean(object, QLatin1String(key)); }
    void operator()(const char* key, double& field) const { field = requiredNumber(object, QLatin1String(key)); }
    void operator()(const char* key, std::optional<QString>& field) const {
        field = optionalString(object, QLatin1String(key));
    }
    void operator()(const char* key, std::optional<qint64>& field) const {
        field = optionalInteger(object, QLatin1String(key));
    }
    void operator()(const char* key, std::optional<QStringList>& field) const {
        field = optionalStrings(object, QLatin1String(key));
    }
    void operator()(const char* key, QStringList& field) const {
        requiredArray(object, QLatin1String(key));
        field = optionalStrings(object, QLatin1String(key)).value_or(QStringList());
    }
    template <class Record>
    void operator()(const char* key, std::vector<Record>& field) const {
        const QJsonArray array = requiredArray(object, QLatin1String(key));
        field.reserve(static_cast<std::size_t>(array.size()));
        for (const auto& element : array) {
            // A one-field object lets an element that isn't an object fail in the usual words.
            const QJsonObject holder{{QLatin1String(key), element}};
            (*this)(key, holder, field.emplace_back());
        }
    }
    template <class Record>
    void operator()(const char* key, std::optional<Record>& field) const {
        const QJsonValue value = object.value(QLatin1String(key));
        if (value.isUndefined() || value.isNull())
            return;
        Record record;
        (*this)(key, object, record);
        field = record;
    }
    template <class Record>
    void operator()(const char* key, const QJsonObject& holder, Record& record) const {
        const QJsonObject inner = requiredObject(holder, QLatin1String(key));
        fields(Reading{inner}, record);
    }
};

/// Writes a record as the text of an object; an optional field without a value leaves no trace.
class Writing {
public:
    explicit Writing(QByteArray& json) : json_(&json) {}

    template <class Record>
    void write(const Record& record) const {
        *json_ += '{';
        fields(*this, record);
        if (json_->endsWith(','))
            json_->chop(1);
        *json_ += '}';
    }

    void operator()(const char* key, const auto& field) const {
        *json_ += '"';
        *json_ += key;
        *json_ += "\":";
        value(field);
        *json_ += ',';
    }
    template <class T>
    void operator()(const char* key, const std::optional<T>& field) const {
        if (field)
            (*this)(key, *field);
    }

private:
    void value(const QString& field) const { appendJsonString(*json_, field); }
    void value(qint64 field) const { *json_ += QByteArray::number(field); }
    void value(bool field) const { *json_ += field ? "true" : "false"; }
    void value(double field) const {
        if (!std::isfinite(field)) // JSON has no word for it (RFC 8259, section 6)
            throw LocalizedError(QStringLiteral("Réponse impossible à écrire : un nombre n'est pas fini."));
        appendJsonNumber(*json_, field);
    }
    void value(const QStringList& field) const { list(field); }
    template <class Record>
    void value(const std::vector<Record>& field) const {
        list(field);
    }
    template <class Record>
        requires std::is_class_v<Record>
    void value(const Record& field) const {
        write(field);
    }
    void list(const auto& elements) const {
        *json_ += '[';
        for (const auto& element : elements) {
            value(element);
            *json_ += ',';
        }
        if (json_->endsWith(','))
            json_->chop(1);
        *json_ += ']';
    }

    QByteArray* json_;
};

template <class Record>
Record read(const QJsonObject& object) {
    Record record;
    fields(Reading{object}, record);
    return record;
}

BridgeTask::Args readArgs(BridgeTaskKind kind, const QJsonObject& task) {
    constexpr QLatin1String key("args");
    switch (kind) {
    case BridgeTaskKind::search:
        return read<SearchArgs>(requiredObject(task, key));
    case BridgeTaskKind::read:
        return read<ReadArgs>(requiredObject(task, key));
    case BridgeTaskKind::listFolders:
        return ListFoldersArgs{};
    case BridgeTaskKind::listDir:
        return read<ListDirArgs>(requiredObject(task, key));
    case BridgeTaskKind::photosRecent: {
        const QJsonValue args = task.value(key);
        if (args.isUndefined() || args.isNull())
            return PhotosRecentArgs{};
        return read<PhotosRecentArgs>(requiredObject(task, key));
    }
    case BridgeTaskKind::photosByDate:
        return read<PhotosByDateArgs>(requiredObject(task, key));
    case BridgeTaskKind::appOpen:
        return read<AppOpenArgs>(requiredObject(task, key));
    case BridgeTaskKind::shortcutRun:
        return read<ShortcutRunArgs>(requiredObject(task, key));
    case BridgeTaskKind::shortcutList:
        return ShortcutListArgs{};
    case BridgeTaskKind::ocrImage:
        return read<OcrImageArgs>(requiredObject(task, key));
    case BridgeTaskKind::openDocument:
        return read<OpenDocumentArgs>(requiredObject(task, key));
    case BridgeTaskKind::thumbnail:
        return read<ThumbnailArgs>(requiredObject(task, key));
    case BridgeTaskKind::llmInfer:
        return read<LLMInferArgs>(requiredObject(task, key));
    }
    Q_UNREACHABLE();
}

} // namespace

QLatin1String rawValue(BridgeTaskKind kind) { return rawValues.at(static_cast<std::size_t>(kind)); }

QLatin1String caseName(BridgeTaskKind kind) { return caseNames.at(static_cast<std::size_t>(kind)); }

std::optional<BridgeTaskKind> bridgeTaskKind(const QString& rawValue) {
    for (std::size_t position = 0; position < rawValues.size(); ++position) {
        if (rawValue == rawValues.at(position))
            return static_cast<BridgeTaskKind>(position);
    }
    return std::nullopt;
}

BridgeTask decodeBridgeTask(const QByteArray& json) {
    const QJsonObject object = parseJsonObject(json);
    BridgeTask task;
    task.id = requiredString(object, QLatin1String("id"));
    const QString word = requiredString(object, QLatin1String("kind"));
    const auto kind = bridgeTaskKind(word);
    if (!kind)
        throw DecodingError(QStringLiteral("Données illisibles : la tâche « %1 » est inconnue.").arg(word.left(64)));
    task.kind = *kind;
    task.args = readArgs(*kind, object);
    return task;
}

QByteArray encodeBridgeTask(const BridgeTask& task) {
    QByteArray json = "{\"id\":";
    appendJsonString(json, task.id);
    json += ",\"kind\":";
    appendJsonString(json, QString(rawValue(task.kind)));
    if (task.kind != BridgeTaskKind::listFolders && task.kind != BridgeTaskKind::shortcutList) {
        json += ",\"args\":";
        std::visit([&](const auto& args) { Writing(json).write(args); }, task.args);
    }
    return json + '}';
}

QByteArray encodeBridgeSuccessBody(const BridgeResult& result) {
    QByteArray json = R"({"status":"done","result":)";
    std::visit([&](const auto& record) { Writing(json).write(record); }, result);
    json += '}';
    return json;
}

QByteArray encodeBridgeErrorBody(const QString& message) {
    QByteArray json = R"({"status":"error","error_message":)";
    appendJsonString(json, message);
    return json + '}';
}

QByteArray encodeBridgeStreamBody(const QString& delta) {
    QByteArray json = R"({"status":"streaming","delta":)";
    appendJsonString(json, delta);
    return json + '}';
}

BridgeResult decodeBridgeResult(BridgeTaskKind kind, const QByteArray& json) {
    const QJsonObject object = parseJsonObject(json);
    switch (kind) {
    case BridgeTaskKind::search:
        return read<BridgeSearchResult>(object);
    case BridgeTaskKind::read:
        return read<BridgeReadResult>(object);
    case BridgeTaskKind::listFolders:
        return read<BridgeListFoldersResult>(object);
    case BridgeTaskKind::listDir:
        return read<BridgeListDirResult>(object);
    case BridgeTaskKind::photosRecent:
    case BridgeTaskKind::photosByDate:
        return read<BridgePhotosResult>(object);
    case BridgeTaskKind::appOpen:
    case BridgeTaskKind::openDocument:
        return read<BridgeOkResult>(object);
    case BridgeTaskKind::shortcutRun:
        return read<BridgeShortcutRunResult>(object);
    case BridgeTaskKind::shortcutList:
        return read<BridgeShortcutListResult>(object);
    case BridgeTaskKind::ocrImage:
        return read<BridgeOcrResult>(object);
    case BridgeTaskKind::thumbnail:
        return read<BridgeThumbnailResult>(object);
    case BridgeTaskKind::llmInfer:
        return read<BridgeLLMInferResult>(object);
    }
    Q_UNREACHABLE();
}

} // namespace vennic
