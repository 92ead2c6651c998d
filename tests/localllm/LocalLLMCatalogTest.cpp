#include "localllm/LocalLLMCatalog.h"

#include "base/Json.h"
#include "fakes/FolderUsageFake.h"
#include "support/Await.h"
#include "support/ScriptedBackend.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct LocalLLMCatalogTest : testing::Test {
    QTemporaryDir home;
    test::FolderUsageFake usage;

    void make(const char* path) {
        ASSERT_TRUE(
            QDir().mkpath(LocalLLMCatalog::hubFolder(home.path()) + QLatin1Char('/') + QString::fromUtf8(path)));
    }
    QSet<QString> ids() { return LocalLLMCatalog::downloadedIds(home.path()); }
    qint64 remove(const char* id) { return LocalLLMCatalog::deleteDownload(home.path(), QString::fromUtf8(id), usage); }
};

TEST(LocalLLMModels, areTheFourteenCuratedOnes) {
    const auto& models = LocalLLMCatalog::models();
    ASSERT_EQ(models.size(), 14u);
    EXPECT_EQ(models.front().id, QStringLiteral("mlx-community/Phi-3.5-mini-instruct-4bit"));
    EXPECT_EQ(models[7],
              (LocalLLMModel{QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"), QStringLiteral("Qwen3 14B"), 8.0, 10.0, 14,
                             QStringLiteral("Recommandé pour Mac 24 GB — très bon raisonnement et agents."),
                             QStringLiteral("Qwen")}));
    EXPECT_EQ(models.back().displayName, QStringLiteral("Qwen3 32B"));
    QSet<QString> ids;
    for (const LocalLLMModel& model : models) {
        ids.insert(model.id);
        EXPECT_EQ(LocalLLMCatalog::model(model.id), model);
    }
    EXPECT_EQ(ids.size(), 14);
    EXPECT_EQ(LocalLLMCatalog::model(QStringLiteral("other")), std::nullopt);
}

TEST_F(LocalLLMCatalogTest, aDownloadWithASnapshotIsListed) {
    make("models--Qwen--Qwen3-14B-MLX-4bit/snapshots/abc");
    make("models--a--b--c/snapshots/.hidden");
    EXPECT_EQ(ids(), (QSet<QString>{QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"), QStringLiteral("a/b/c")}));
}

TEST_F(LocalLLMCatalogTest, whatHasNoSnapshotOrIsNoModelIsNotListed) {
    make("models--a--empty/snapshots");
    make("models--a--none");
    make("datasets--x/snapshots/abc");
    EXPECT_TRUE(ids().isEmpty());
}

TEST_F(LocalLLMCatalogTest, withoutAHubNothingIsListed) { EXPECT_TRUE(ids().isEmpty()); }

TEST_F(LocalLLMCatalogTest, deletingTellsTheBytesThatWereMeasured) {
    make("models--Qwen--Qwen3-4B/snapshots/abc");
    usage.bytes = 1234;
    EXPECT_EQ(remove("Qwen/Qwen3-4B"), 1234);
    EXPECT_EQ(usage.removed,
              QStringList{LocalLLMCatalog::hubFolder(home.path()) + QStringLiteral("/models--Qwen--Qwen3-4B")});
}

TEST_F(LocalLLMCatalogTest, deletingWhatIsNotThereDoesNothing) {
    usage.bytes = 1234;
    EXPECT_EQ(remove("Qwen/Qwen3-4B"), 0);
    EXPECT_TRUE(usage.removed.isEmpty());
}

TEST_F(LocalLLMCatalogTest, anIdentifierNeverLeadsOutOfTheHub) {
    make("models--x/snapshots/abc");
    for (const char* id : {"..", "../..", "../../../..", "/", "", "."}) {
        remove(id);
        for (const QString& path : usage.removed)
            EXPECT_TRUE(
                QDir::cleanPath(path).startsWith(LocalLLMCatalog::hubFolder(home.path()) + QStringLiteral("/models--")))
                << id;
    }
}

TEST_F(LocalLLMCatalogTest, aRefusedRemovalIsRaised) {
    make("models--a--b/snapshots/abc");
    usage.refuses = true;
    EXPECT_THROW(remove("a/b"), LocalizedError);
}

struct RemoteCatalogTest : testing::Test, test::ScriptedBackend {
    auto fetch() { return test::await(LocalLLMCatalog::fetchRemoteModels(&http, &config)); }
};

TEST_F(RemoteCatalogTest, theBackendsListStandsInForTheCuratedOne) {
    transport.answerWith(200, R"({"models":[{"id":"a/b","display_name":"B","size_gb":2,"ram_gb":3.5,
        "tokens_per_sec":40},{"id":"c","display_name":"C","size_gb":1.5,"ram_gb":2,"tokens_per_sec":4,
        "description_fr":"Bien.","family":"F"}]})");
    const auto models = fetch();
    ASSERT_TRUE(models);
    EXPECT_EQ(*models,
              (std::vector<LocalLLMModel>{{QStringLiteral("a/b"), QStringLiteral("B"), 2, 3.5, 40,
                                           QStringLiteral("Modele MLX curaté par Vennic."), QStringLiteral("Local")},
                                          {QStringLiteral("c"), QStringLiteral("C"), 1.5, 2, 4, QStringLiteral("Bien."),
                                           QStringLiteral("F")}}));
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.url.toString(), QStringLiteral("https://api.vennic.test/api/v1/local_llm/catalog.json"));
    EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Accept", "application/json"}}));
    EXPECT_TRUE(request.secretHeaders.empty());
    EXPECT_EQ(request.timeout, 8s);
    EXPECT_EQ(request.maxAnswerBytes, 1024 * 1024);
}

TEST_F(RemoteCatalogTest, aBaseThatEndsInTheRootAndASlashAsksTheSame) {
    for (const char* base : {"https://vennic.test/", "https://vennic.test/api/v1", "https://vennic.test/api/v1/"}) {
        transport.requests.clear();
        store.values[QLatin1String("apiBaseURL")] = QString::fromUtf8(base);
        transport.answerWith(404);
        EXPECT_FALSE(fetch());
        EXPECT_EQ(transport.requests.at(0).url.toString(),
                  QStringLiteral("https://vennic.test/api/v1/local_llm/catalog.json"));
    }
}

TEST_F(RemoteCatalogTest, anythingLessThanAListIsNothing) {
    transport.failWith(TransportFault::timedOut);
    EXPECT_FALSE(fetch());
    transport.answerWith(HttpResponse{std::nullopt, {}, R"({"models":[]})"});
    EXPECT_FALSE(fetch());
    for (const char* body :
         {"", "[]", "{}", R"({"models":[]})", R"({"models":[1]})", R"({"models":[{"id":"a"}]})",
          R"({"models":[{"id":"a","display_name":"A","size_gb":"2","ram_gb":3,"tokens_per_sec":4}]})",
          R"({"models":[{"id":"a","display_name":"A","size_gb":2,"ram_gb":3,"tokens_per_sec":4.5}]})"}) {
        transport.answerWith(200, body);
        EXPECT_FALSE(fetch()) << body;
    }
}

/// A catalogue of rows, each of a plain one's fields but for those of the object that is given in JSON.
QByteArray catalogOf(const QByteArrayList& changes) {
    QJsonArray rows;
    for (const QByteArray& change : changes) {
        QJsonObject row = parseJsonObject(R"({"id":"a/b","display_name":"B","size_gb":2,"ram_gb":3,
                                              "tokens_per_sec":40})");
        const QJsonObject fields = parseJsonObject(change);
        for (auto field = fields.begin(); field != fields.end(); ++field)
            row.insert(field.key(), field.value());
        rows.append(row);
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("models"), rows}}).toJson();
}

TEST_F(RemoteCatalogTest, whatIsReadOfARowIsOneLineThatSomebodyWouldRead) {
    const QByteArray endless(100'000, 'x');
    transport.answerWith(200, catalogOf({R"({"display_name":")" + endless + R"(","description_fr":")" + endless +
                                             R"(","family":")" + endless + R"("})",
                                         R"({"display_name":"A\nB\u2029\u202Ec",
                                             "description_fr":"Très\u00A0bon\r\n: oui\u001B[2J",
                                             "family":"F\u0000\uFDD0"})"}));
    const auto models = fetch();
    ASSERT_TRUE(models);
    ASSERT_EQ(models->size(), 2u);
    EXPECT_EQ(models->front().displayName, QString(120, u'x') + u'…');
    EXPECT_EQ(models->front().description, QString(500, u'x') + u'…');
    EXPECT_EQ(models->front().familyTag, QString(120, u'x') + u'…');
    EXPECT_EQ(models->back().displayName, QStringLiteral("A B\uFFFD\uFFFDc"));
    EXPECT_EQ(models->back().description, QStringLiteral("Très\u00A0bon  : oui\uFFFD[2J"));
    EXPECT_EQ(models->back().familyTag, QStringLiteral("F\uFFFD\uFFFD"));
}

TEST_F(RemoteCatalogTest, anIdentifierStaysAsItIsOrItsRowIsLeftOut) {
    const QByteArray longest(512, 'x');
    const auto row = [](const QByteArray& id) { return R"({"id":")" + id + R"("})"; };
    transport.answerWith(200, catalogOf({row("  org/Modèle %1 中 "), row(""), row(R"(a\nb)"), row(R"(a\u202Eb)"),
                                         row(longest + 'x'), row(longest)}));
    const auto models = fetch();
    ASSERT_TRUE(models);
    ASSERT_EQ(models->size(), 2u);
    EXPECT_EQ(models->front().id, QStringLiteral("  org/Modèle %1 中 "));
    EXPECT_EQ(models->back().id, QString::fromLatin1(longest));
    transport.answerWith(200, catalogOf({row(R"(a\u0000)")}));
    EXPECT_FALSE(fetch()) << "nothing is left";
}

TEST_F(RemoteCatalogTest, aRowWhoseSizeIsNoneIsLeftOut) {
    transport.answerWith(
        200, catalogOf({R"({"size_gb":1.7e308})", R"({"ram_gb":-1e7})", R"({"id":"c","size_gb":1e6,"ram_gb":0})"}));
    const auto models = fetch();
    ASSERT_TRUE(models);
    ASSERT_EQ(models->size(), 1u);
    EXPECT_EQ(models->front().id, QStringLiteral("c"));
}

TEST_F(RemoteCatalogTest, whatFollowsTwoHundredRowsIsNotRead) {
    QByteArrayList rows;
    for (int i = 0; i < 200; ++i)
        rows.append(R"({"id":")" + QByteArray::number(i) + R"("})");
    rows.append(R"({"id":7})"); // would be no catalogue at all
    transport.answerWith(200, catalogOf(rows));
    const auto models = fetch();
    ASSERT_TRUE(models);
    EXPECT_EQ(models->size(), 200u);
    EXPECT_EQ(models->back().id, QStringLiteral("199"));
}

} // namespace
} // namespace vennic
