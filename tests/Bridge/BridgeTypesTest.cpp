#include "Bridge/BridgeTypes.h"

#include "base/Json.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace vennic;

namespace {

QJsonObject resultOf(const BridgeResult& result) {
    return QJsonDocument::fromJson(encodeBridgeSuccessBody(result)).object().value(QLatin1String("result")).toObject();
}

QByteArray compact(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

/// Makes records at random, awkward texts and numbers included.
class Maker {
public:
    explicit Maker(unsigned seed) : random_(seed) {}

    bool flag() { return (random_() & 1U) != 0; }
    qint64 integer() {
        switch (random_() % 5) {
        case 0:
            return std::numeric_limits<qint64>::min();
        case 1:
            return std::numeric_limits<qint64>::max();
        case 2:
            return 0;
        default:
            return static_cast<qint64>(random_());
        }
    }
    double number() { return std::uniform_real_distribution<double>(-180, 180)(random_); }
    QString text() {
        static const std::array pieces{u"",   u"\"", u"\\",     u"/",           u"é",  u"e\u0301", u"\u0000z",
                                       u"\n", u"\t", u"\u2028", u"facture EDF", u"😀", u"{}"};
        QString made;
        for (auto count = random_() % 4; count > 0; --count)
            made += QStringView(pieces.at(random_() % pieces.size())).toString();
        if (random_() % 8 == 0)
            made += QChar(u'\0');
        return made;
    }
    QStringList texts() {
        QStringList made;
        for (auto count = random_() % 3; count > 0; --count)
            made.append(text());
        return made;
    }
    template <class Make>
    auto maybe(Make make) -> std::optional<decltype(make())> {
        return flag() ? std::optional(make()) : std::nullopt;
    }
    std::optional<QString> maybeText() {
        return maybe([this] { return text(); });
    }
    std::optional<qint64> maybeInteger() {
        return maybe([this] { return integer(); });
    }

    BridgeTask task(BridgeTaskKind kind) { return {text(), kind, args(kind)}; }
    BridgeTask::Args args(BridgeTaskKind kind) {
        switch (kind) {
        case BridgeTaskKind::search:
            return SearchArgs{text(), maybe([this] { return texts(); }), maybeInteger()};
        case BridgeTaskKind::read:
            return ReadArgs{text(), maybeInteger()};
        case BridgeTaskKind::listFolders:
            return ListFoldersArgs{};
        case BridgeTaskKind::listDir:
            return ListDirArgs{text(), maybeText()};
        case BridgeTaskKind::photosRecent:
            return PhotosRecentArgs{maybeInteger()};
        case BridgeTaskKind::photosByDate:
            return PhotosByDateArgs{integer(), maybeInteger(), maybeInteger()};
        case BridgeTaskKind::appOpen:
            return AppOpenArgs{text()};
        case BridgeTaskKind::shortcutRun:
            return ShortcutRunArgs{text(), maybeText()};
        case BridgeTaskKind::shortcutList:
            return ShortcutListArgs{};
        case BridgeTaskKind::ocrImage:
            return OcrImageArgs{text()};
        case BridgeTaskKind::openDocument:
            return OpenDocumentArgs{text()};
        case BridgeTaskKind::thumbnail:
            return ThumbnailArgs{text(), maybeInteger()};
        case BridgeTaskKind::llmInfer:
            return LLMInferArgs{text()};
        }
        Q_UNREACHABLE();
    }
    BridgeResult result(BridgeTaskKind kind) {
        switch (kind) {
        case BridgeTaskKind::search:
            return BridgeSearchResult{{{text(), text(), text(), integer(), maybeText(), text(), flag()}, {}}};
        case BridgeTaskKind::read:
            return BridgeReadResult{text(), flag(), integer()};
        case BridgeTaskKind::listFolders:
            return BridgeListFoldersResult{{{text(), text(), text(), flag()}}};
        case BridgeTaskKind::listDir:
            return BridgeListDirResult{
                {{text(), text(), text(), text(), integer(), maybeText(), text()}}, text(), text()};
        case BridgeTaskKind::photosRecent:
        case BridgeTaskKind::photosByDate:
            return BridgePhotosResult{{{text(), text(), maybeText(), text(),
                                        maybe([this] { return BridgePhotosResult::Location{number(), number()}; })}}};
        case BridgeTaskKind::appOpen:
        case BridgeTaskKind::openDocument:
            return BridgeOkResult{flag(), maybeText()};
        case BridgeTaskKind::shortcutRun:
            return BridgeShortcutRunResult{maybeText()};
        case BridgeTaskKind::shortcutList:
            return BridgeShortcutListResult{texts()};
        case BridgeTaskKind::ocrImage:
            return BridgeOcrResult{text(), texts(), integer()};
        case BridgeTaskKind::thumbnail:
            return BridgeThumbnailResult{text(), text(), integer(), integer()};
        case BridgeTaskKind::llmInfer:
            return BridgeLLMInferResult{text(), text(), integer()};
        }
        Q_UNREACHABLE();
    }

private:
    std::mt19937_64 random_;
};

constexpr int kinds = 13;

} // namespace

TEST(BridgeTypes, theThirteenKindsHaveTheirWordsInOrder) {
    QStringList words;
    for (int kind = 0; kind < kinds; ++kind) {
        const QString word = rawValue(static_cast<BridgeTaskKind>(kind));
        EXPECT_EQ(bridgeTaskKind(word), static_cast<BridgeTaskKind>(kind));
        words.append(word);
    }
    EXPECT_EQ(words.join(u' '),
              QStringLiteral("search read list_folders list_dir photos_recent photos_by_date app_open "
                             "shortcut_run shortcut_list ocr_image open_document thumbnail llm_infer"));
    EXPECT_FALSE(bridgeTaskKind(QStringLiteral("open_app")));
    EXPECT_FALSE(bridgeTaskKind(QStringLiteral("Search")));
    EXPECT_FALSE(bridgeTaskKind({}));
}

TEST(BridgeTypes, everyTaskComesBackFromItsJson) {
    Maker maker(7);
    for (int round = 0; round < 2000; ++round) {
        const BridgeTask task = maker.task(static_cast<BridgeTaskKind>(round % kinds));
        const QByteArray json = encodeBridgeTask(task);
        EXPECT_EQ(decodeBridgeTask(json), task) << json.constData();
    }
}

TEST(BridgeTypes, everyResultComesBackFromItsJson) {
    Maker maker(11);
    for (int round = 0; round < 2000; ++round) {
        const auto kind = static_cast<BridgeTaskKind>(round % kinds);
        const BridgeResult result = maker.result(kind);
        const QByteArray json = compact(resultOf(result));
        EXPECT_EQ(decodeBridgeResult(kind, json), result) << json.constData();
    }
}

TEST(BridgeTypes, aTaskIsReadFieldByField) {
    const BridgeTask task = decodeBridgeTask(
        R"({"id":"t 1/é","kind":"search","args":{"query":"edf","folder_hints":["Documents"],"limit":3,"more":1},"x":[]})");
    EXPECT_EQ(task.id, QStringLiteral("t 1/é"));
    EXPECT_EQ(task.kind, BridgeTaskKind::search);
    EXPECT_EQ(std::get<SearchArgs>(task.args),
              (SearchArgs{QStringLiteral("edf"), QStringList{QStringLiteral("Documents")}, 3}));
    EXPECT_EQ(std::get<ReadArgs>(
                  decodeBridgeTask(R"({"id":"","kind":"read","args":{"document_id":"D","max_chars":-5}})").args),
              (ReadArgs{QStringLiteral("D"), -5}));
    EXPECT_EQ(std::get<PhotosByDateArgs>(
                  decodeBridgeTask(R"({"id":"","kind":"photos_by_date","args":{"year":2024,"month":null}})").args),
              (PhotosByDateArgs{2024, {}, {}}));
    EXPECT_EQ(std::get<LLMInferArgs>(
                  decodeBridgeTask(R"({"id":"","kind":"llm_infer","args":{"openai_body_json":"{\"a\":1}"}})").args),
              (LLMInferArgs{QStringLiteral("{\"a\":1}")}));
}

TEST(BridgeTypes, listingTasksDontLookAtTheirArguments) {
    for (const char* kind : {"list_folders", "shortcut_list"}) {
        const QByteArray begin = QByteArray(R"({"id":"t1","kind":")") + kind + '"';
        for (const char* args :
             {"", R"(,"args":null)", R"(,"args":7)", R"(,"args":"x")", R"(,"args":[{}])", R"(,"args":{"limit":1.5})"})
            EXPECT_NO_THROW(decodeBridgeTask(begin + args + '}')) << args;
    }
}

TEST(BridgeTypes, onlyRecentPhotosDoWithoutArguments) {
    EXPECT_EQ(std::get<PhotosRecentArgs>(decodeBridgeTask(R"({"id":"t1","kind":"photos_recent"})").args),
              PhotosRecentArgs{});
    EXPECT_EQ(std::get<PhotosRecentArgs>(decodeBridgeTask(R"({"id":"t1","kind":"photos_recent","args":null})").args),
              PhotosRecentArgs{});
    EXPECT_THROW(decodeBridgeTask(R"({"id":"t1","kind":"photos_recent","args":[]})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"id":"t1","kind":"photos_recent","args":{"limit":"3"}})"), DecodingError);
    for (int kind = 0; kind < kinds; ++kind) {
        const auto each = static_cast<BridgeTaskKind>(kind);
        if (each == BridgeTaskKind::photosRecent || each == BridgeTaskKind::listFolders ||
            each == BridgeTaskKind::shortcutList)
            continue;
        const QByteArray begin = QByteArray(R"({"id":"t1","kind":")") + rawValue(each).data() + '"';
        for (const char* args : {"", R"(,"args":null)", R"(,"args":[])", R"(,"args":{})", R"(,"args":"{}")"})
            EXPECT_THROW(decodeBridgeTask(begin + args + '}'), DecodingError) << begin.constData() << args;
    }
}

TEST(BridgeTypes, anUnknownKindOrAMissingIdFailsTheWholeTask) {
    EXPECT_THROW(decodeBridgeTask(R"({"id":"t1","kind":"open_app","args":{}})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"id":"t1","kind":"","args":{}})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"id":"t1","args":{}})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"id":"t1","kind":3})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"kind":"list_folders"})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"id":7,"kind":"list_folders"})"), DecodingError);
    EXPECT_THROW(decodeBridgeTask(R"({"id":null,"kind":"list_folders"})"), DecodingError);
}

TEST(BridgeTypes, integersHaveNoFractionAndFit64Bits) {
    const auto withLimit = [](const char* limit) {
        return decodeBridgeTask(QByteArray(R"({"id":"t","kind":"search","args":{"query":"a","limit":)") + limit + "}}");
    };
    for (const char* bad : {"1.5", "\"1\"", "true", "[]", "1e300", "9223372036854775808", "-1e19", "0.0001"})
        EXPECT_THROW(withLimit(bad), DecodingError) << bad;
    const auto limit = [&](const char* text) { return std::get<SearchArgs>(withLimit(text).args).limit; };
    EXPECT_EQ(limit("9223372036854775807"), std::numeric_limits<qint64>::max());
    EXPECT_EQ(limit("-9223372036854775808"), std::numeric_limits<qint64>::min());
    EXPECT_EQ(limit("10.0"), 10);
    EXPECT_EQ(limit("1e1"), 10);
    EXPECT_EQ(limit("null"), std::nullopt);
}

TEST(BridgeTypes, folderHintsAreStringsOnly) {
    const auto withHints = [](const char* hints) {
        return decodeBridgeTask(QByteArray(R"({"id":"t","kind":"search","args":{"query":"a","folder_hints":)") + hints +
                                "}}");
    };
    EXPECT_THROW(withHints("[1]"), DecodingError);
    EXPECT_THROW(withHints("[null]"), DecodingError);
    EXPECT_THROW(withHints("\"Documents\""), DecodingError);
    EXPECT_EQ(std::get<SearchArgs>(withHints("[]").args).folderHints, QStringList());
    EXPECT_EQ(std::get<SearchArgs>(withHints("null").args).folderHints, std::nullopt);
}

TEST(BridgeTypes, hostileJsonIsRefusedAndNothingElse) {
    const std::vector<QByteArray> bodies{
        "",
        " ",
        "null",
        "[]",
        "7",
        "\"t\"",
        "{",
        "{}",
        "{]",
        "\xff\xfe",
        QByteArray("\0", 1),
        R"({"id":"t","kind":"list_folders"} {})",
        R"({"id":"t","kind":"list_folders",})",
        R"({"id":"t","kind":"read","args":{"document_id":{"$ne":1}}})",
        QByteArray(100'000, '['),
        QByteArray(R"({"id":")") + QByteArray(1'000'000, 'a'),
        "<html>502</html>",
    };
    for (const QByteArray& body : bodies)
        EXPECT_THROW(decodeBridgeTask(body), DecodingError) << body.left(60).constData();
}

TEST(BridgeTypes, anOptionalFieldWithoutValueIsLeftOut) {
    EXPECT_EQ(compact(resultOf(BridgeOkResult{true, {}})), R"({"ok":true})");
    EXPECT_EQ(compact(resultOf(BridgeShortcutRunResult{})), "{}");
    EXPECT_EQ(compact(resultOf(BridgeSearchResult{{{}}})),
              R"({"items":[{"id":"","is_remote":false,"mime":"","name":"","parent":"","size":0}]})");
    EXPECT_EQ(compact(resultOf(BridgePhotosResult{{{}}})), R"({"items":[{"id":"","mime":"","name":""}]})");
}

TEST(BridgeTypes, aRequiredFieldIsWrittenAlsoWhenEmptyOrZero) {
    EXPECT_EQ(compact(resultOf(BridgeSearchResult{})), R"({"items":[]})");
    EXPECT_EQ(compact(resultOf(BridgeReadResult{})), R"({"bytes_read":0,"content":"","truncated":false})");
    EXPECT_EQ(compact(resultOf(BridgeListFoldersResult{})), R"({"folders":[]})");
    EXPECT_EQ(compact(resultOf(BridgeListDirResult{})), R"({"folder_id":"","items":[],"sub_path":""})");
    EXPECT_EQ(compact(resultOf(BridgeShortcutListResult{})), R"({"shortcuts":[]})");
    EXPECT_EQ(compact(resultOf(BridgeOcrResult{})), R"({"bytes_processed":0,"languages":[],"text":""})");
    EXPECT_EQ(compact(resultOf(BridgeThumbnailResult{})), R"({"data_base64":"","height":0,"mime":"","width":0})");
    EXPECT_EQ(compact(resultOf(BridgeLLMInferResult{})), R"({"latency_ms":0,"model_used":"","response_json":""})");
    EXPECT_EQ(compact(resultOf(BridgeListFoldersResult{{{}}})),
              R"({"folders":[{"id":"","is_remote":false,"name":"","path_display":""}]})");
    EXPECT_EQ(
        compact(resultOf(BridgeListDirResult{{{}}, {}, {}})),
        R"({"folder_id":"","items":[{"id":"","mime":"","name":"","size":0,"sub_path":"","type":""}],"sub_path":""})");
}

TEST(BridgeTypes, theThreeEnvelopesHaveTheirFields) {
    EXPECT_EQ(encodeBridgeSuccessBody(BridgeOkResult{true, QStringLiteral("e")}),
              R"({"status":"done","result":{"ok":true,"error":"e"}})");
    EXPECT_EQ(encodeBridgeErrorBody(QStringLiteral("L'é \"x\"")),
              QByteArray("{\"status\":\"error\",\"error_message\":\"L'é \\\"x\\\"\"}"));
    EXPECT_EQ(encodeBridgeStreamBody({}), R"({"status":"streaming","delta":""})");
}

TEST(BridgeTypes, aNumberThatIsNotFiniteCannotBeWritten) {
    const auto at = [](double lat) {
        return BridgePhotosResult{{{{}, {}, {}, {}, BridgePhotosResult::Location{lat, 0}}}};
    };
    EXPECT_THROW(encodeBridgeSuccessBody(at(std::numeric_limits<double>::quiet_NaN())), LocalizedError);
    EXPECT_THROW(encodeBridgeSuccessBody(at(std::numeric_limits<double>::infinity())), LocalizedError);
}

TEST(BridgeTypes, aResultOfAnotherShapeIsRefused) {
    EXPECT_THROW(decodeBridgeResult(BridgeTaskKind::search, R"({})"), DecodingError);
    EXPECT_THROW(decodeBridgeResult(BridgeTaskKind::search, R"({"items":[7]})"), DecodingError);
    EXPECT_THROW(decodeBridgeResult(BridgeTaskKind::search, R"({"items":[{"id":"a"}]})"), DecodingError);
    EXPECT_THROW(decodeBridgeResult(BridgeTaskKind::read, R"({"content":"","truncated":1,"bytes_read":0})"),
                 DecodingError);
    EXPECT_THROW(decodeBridgeResult(BridgeTaskKind::shortcutList, R"({"shortcuts":[1]})"), DecodingError);
    EXPECT_THROW(decodeBridgeResult(BridgeTaskKind::photosRecent,
                                    R"({"items":[{"id":"","name":"","mime":"","location":{"lat":"1","lng":0}}]})"),
                 DecodingError);
}
