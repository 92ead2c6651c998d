#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <variant>
#include <vector>

namespace vennic {

/// The thirteen things that the backend can ask of this machine, in the order of the wire's vocabulary.
enum class BridgeTaskKind {
    search,
    read,
    listFolders,
    listDir,
    photosRecent,
    photosByDate,
    appOpen,
    shortcutRun,
    shortcutList,
    ocrImage,
    openDocument,
    thumbnail,
    llmInfer,
};

/// "search", "list_folders", … as on the wire.
QLatin1String rawValue(BridgeTaskKind kind);
/// "search", "listFolders", …: the kind's own name, as the user sees it where it isn't translated.
QLatin1String caseName(BridgeTaskKind kind);
std::optional<BridgeTaskKind> bridgeTaskKind(const QString& rawValue);

// Arguments as handlers see them. Defaults of absent fields are the handlers' business.
struct SearchArgs {
    QString query;
    std::optional<QStringList> folderHints;
    std::optional<qint64> limit;
    bool operator==(const SearchArgs&) const = default;
};
struct ReadArgs {
    QString documentId;
    std::optional<qint64> maxChars;
    bool operator==(const ReadArgs&) const = default;
};
struct ListFoldersArgs {
    bool operator==(const ListFoldersArgs&) const = default;
};
struct ListDirArgs {
    QString folderId;
    std::optional<QString> subPath;
    bool operator==(const ListDirArgs&) const = default;
};
struct PhotosRecentArgs {
    std::optional<qint64> limit;
    bool operator==(const PhotosRecentArgs&) const = default;
};
struct PhotosByDateArgs {
    qint64 year = 0;
    std::optional<qint64> month;
    std::optional<qint64> limit;
    bool operator==(const PhotosByDateArgs&) const = default;
};
struct AppOpenArgs {
    QString name;
    bool operator==(const AppOpenArgs&) const = default;
};
struct ShortcutRunArgs {
    QString name;
    std::optional<QString> input;
    bool operator==(const ShortcutRunArgs&) const = default;
};
struct ShortcutListArgs {
    bool operator==(const ShortcutListArgs&) const = default;
};
struct OcrImageArgs {
    QString documentId;
    bool operator==(const OcrImageArgs&) const = default;
};
struct OpenDocumentArgs {
    QString documentId;
    bool operator==(const OpenDocumentArgs&) const = default;
};
struct ThumbnailArgs {
    QString documentId;
    std::optional<qint64> maxEdge;
    bool operator==(const ThumbnailArgs&) const = default;
};
struct LLMInferArgs {
    QString openaiBodyJson;
    bool operator==(const LLMInferArgs&) const = default;
};

/// One task of the backend. The id is opaque and goes into the answer's path as it stands.
struct BridgeTask {
    using Args = std::variant<SearchArgs, ReadArgs, ListFoldersArgs, ListDirArgs, PhotosRecentArgs, PhotosByDateArgs,
                              AppOpenArgs, ShortcutRunArgs, ShortcutListArgs, OcrImageArgs, OpenDocumentArgs,
                              ThumbnailArgs, LLMInferArgs>; // in the order of BridgeTaskKind

    QString id;
    BridgeTaskKind kind = BridgeTaskKind::search;
    Args args;
    bool operator==(const BridgeTask&) const = default;
};

/// Raises DecodingError when anything is missing or malformed; there is no partial task.
BridgeTask decodeBridgeTask(const QByteArray& json);
/// The JSON that decodes to `task` again.
QByteArray encodeBridgeTask(const BridgeTask& task);

// Results: an optional field without a value is left out of the JSON, any other field is always written.
struct BridgeSearchResult {
    struct Item {
        QString id;
        QString name;
        QString mime;
        qint64 size = 0;
        std::optional<QString> modified_at;
        QString parent;
        bool is_remote = false;
        bool operator==(const Item&) const = default;
    };
    std::vector<Item> items;
    bool operator==(const BridgeSearchResult&) const = default;
};
struct BridgeReadResult {
    QString content;
    bool truncated = false;
    qint64 bytes_read = 0;
    bool operator==(const BridgeReadResult&) const = default;
};
struct BridgeListFoldersResult {
    struct Folder {
        QString id;
        QString name;
        QString path_display;
        bool is_remote = false;
        bool operator==(const Folder&) const = default;
    };
    std::vector<Folder> folders;
    bool operator==(const BridgeListFoldersResult&) const = default;
};
struct BridgeListDirResult {
    struct Item {
        QString id;
        QString name;
        QString type;
        QString mime;
        qint64 size = 0;
        std::optional<QString> modified_at;
        QString sub_path;
        bool operator==(const Item&) const = default;
    };
    std::vector<Item> items;
    QString folder_id;
    QString sub_path;
    bool operator==(const BridgeListDirResult&) const = default;
};
struct BridgePhotosResult {
    struct Location {
        double lat = 0;
        double lng = 0;
        bool operator==(const Location&) const = default;
    };
    struct Item {
        QString id;
        QString name;
        std::optional<QString> taken_at;
        QString mime;
        std::optional<Location> location;
        bool operator==(const Item&) const = default;
    };
    std::vector<Item> items;
    bool operator==(const BridgePhotosResult&) const = default;
};
struct BridgeOkResult {
    bool ok = false;
    std::optional<QString> error;
    bool operator==(const BridgeOkResult&) const = default;
};
struct BridgeShortcutRunResult {
    std::optional<QString> output;
    bool operator==(const BridgeShortcutRunResult&) const = default;
};
struct BridgeShortcutListResult {
    QStringList shortcuts;
    bool operator==(const BridgeShortcutListResult&) const = default;
};
struct BridgeOcrResult {
    QString text;
    QStringList languages;
    qint64 bytes_processed = 0;
    bool operator==(const BridgeOcrResult&) const = default;
};
struct BridgeThumbnailResult {
    QString data_base64;
    QString mime;
    qint64 width = 0;
    qint64 height = 0;
    bool operator==(const BridgeThumbnailResult&) const = default;
};
struct BridgeLLMInferResult {
    QString response_json;
    QString model_used;
    qint64 latency_ms = 0;
    bool operator==(const BridgeLLMInferResult&) const = default;
};

using BridgeResult = std::variant<BridgeSearchResult, BridgeReadResult, BridgeListFoldersResult, BridgeListDirResult,
                                  BridgePhotosResult, BridgeOkResult, BridgeShortcutRunResult, BridgeShortcutListResult,
                                  BridgeOcrResult, BridgeThumbnailResult, BridgeLLMInferResult>;

// Bodies of an answer, as UTF-8 JSON.
/// {"status":"done","result":…}
QByteArray encodeBridgeSuccessBody(const BridgeResult& result);
/// {"status":"error","error_message":…}
QByteArray encodeBridgeErrorBody(const QString& message);
/// {"status":"streaming","delta":…}
QByteArray encodeBridgeStreamBody(const QString& delta);
/// The result record of `kind` out of its JSON object. Raises DecodingError.
BridgeResult decodeBridgeResult(BridgeTaskKind kind, const QByteArray& json);

} // namespace vennic
