#include "Bridge/SearchHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <QJsonArray>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct SearchHandlerTest : ::testing::Test {
    BridgeWorld world;
    QString unsent;
    TaskAnswer answer{[this](const QString& reason) { unsent = reason; }};
    BridgeIDCache cache;
    int made = 0;
    SearchHandler handler{BookmarkPersistence(world.store),
                          world.bookmarks,
                          SpotlightSearch(world.index, world.files, world.types, world.clock),
                          cache,
                          answer,
                          [this] { return QStringLiteral("ID-%1").arg(++made); }};

    QJsonObject handle(const SearchArgs& args) {
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::search, args};
        await(handler.handleSearch(task, args, world.api()));
        return world.backend.updates.empty() ? QJsonObject() : world.backend.updates.back().body;
    }
    void answerWith(std::vector<IndexItem> items) { world.index.answers.push_back({std::move(items)}); }
    static QJsonObject error(const char16_t* message) {
        return {{QStringLiteral("status"), QStringLiteral("error")},
                {QStringLiteral("error_message"), QStringView(message).toString()}};
    }
    static SearchArgs args(const char16_t* query) { return {QStringView(query).toString(), {}, {}}; }
    static IndexItem item(const char16_t* path) {
        IndexItem made;
        made.path = QStringView(path).toString();
        return made;
    }
    QStringList scopes() const { return world.index.questions.back().scopes; }
};

const QByteArray nothingFound = R"({"result":{"items":[]},"status":"done"})";

} // namespace

TEST_F(SearchHandlerTest, withoutGrantsItSaysThatNoFolderIsShared) {
    EXPECT_EQ(handle(args(u"edf")), error(u"Aucun dossier partagé n'est configuré sur le Mac."));
    EXPECT_EQ(world.backend.updates[0].path, QStringLiteral("/api/v1/bridge/tasks/t1"));
    EXPECT_TRUE(world.index.questions.empty());
}

TEST_F(SearchHandlerTest, noHitIsASuccessWithNoItems) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(QJsonDocument(handle(args(u"edf"))).toJson(QJsonDocument::Compact), nothingFound);
    EXPECT_EQ(made, 0);
}

TEST_F(SearchHandlerTest, everyHitGetsAHandleInTheOrderOfTheSearch) {
    world.share(QStringLiteral("/home/marie/d"));
    IndexItem full = item(u"/home/marie/d/a.pdf");
    full.contentType = QStringLiteral("com.adobe.pdf");
    full.size = 5;
    full.changedAt = QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33, 900), Qt::UTC);
    answerWith({full, item(u"/home/marie/d/b")});
    const QJsonArray items =
        handle(args(u"edf")).value(QLatin1String("result")).toObject().value(QLatin1String("items")).toArray();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(QJsonDocument(items[0].toObject()).toJson(QJsonDocument::Compact),
              R"({"id":"ID-1","is_remote":false,"mime":"application/pdf","modified_at":"2025-03-01T09:12:33Z",)"
              R"("name":"a.pdf","parent":"~/d","size":5})");
    EXPECT_EQ(QJsonDocument(items[1].toObject()).toJson(QJsonDocument::Compact),
              R"({"id":"ID-2","is_remote":false,"mime":"public.data","name":"b","parent":"~/d","size":0})");
    EXPECT_EQ(cache.get(QStringLiteral("ID-2")), FileURL{QStringLiteral("/home/marie/d/b")});
}

TEST_F(SearchHandlerTest, theSameFileFoundTwiceGetsTwoHandles) {
    world.share(QStringLiteral("/d"));
    answerWith({item(u"/d/a")});
    handle(args(u"a"));
    answerWith({item(u"/d/a")});
    handle(args(u"a"));
    EXPECT_EQ(cache.get(QStringLiteral("ID-1")), cache.get(QStringLiteral("ID-2")));
    EXPECT_EQ(cache.size(), 2);
}

TEST_F(SearchHandlerTest, handlesAreRandomUpperCaseUuids) {
    world.share(QStringLiteral("/d"));
    SearchHandler real(BookmarkPersistence(world.store), world.bookmarks,
                       SpotlightSearch(world.index, world.files, world.types, world.clock), cache, answer);
    answerWith({item(u"/d/a")});
    await(real.handleSearch({}, args(u"a"), world.api()));
    const QString id = world.backend.updates[0]
                           .body.value(QLatin1String("result"))
                           .toObject()
                           .value(QLatin1String("items"))
                           .toArray()[0]
                           .toObject()
                           .value(QLatin1String("id"))
                           .toString();
    EXPECT_EQ(uuidString(QUuid::fromString(id)), id);
}

TEST_F(SearchHandlerTest, tenIsTheLimitWhenNoneIsGivenAndAnyOtherIsTakenAsItStands) {
    world.share(QStringLiteral("/d"));
    handle(args(u"edf"));
    EXPECT_EQ(world.index.questions.back().limit, 10);
    handle({QStringLiteral("edf"), {}, 700});
    EXPECT_EQ(world.index.questions.back().limit, 700);
}

TEST_F(SearchHandlerTest, aLimitOfZeroGivesNoResultAndNoHandle) {
    world.share(QStringLiteral("/d"));
    answerWith({item(u"/d/a")});
    EXPECT_EQ(QJsonDocument(handle({QStringLiteral("a"), {}, 0})).toJson(QJsonDocument::Compact), nothingFound);
    EXPECT_EQ(cache.size(), 0);
}

TEST_F(SearchHandlerTest, theIndexHasFiveSeconds) {
    world.share(QStringLiteral("/d"));
    handle(args(u"edf"));
    EXPECT_EQ(world.clock.asked, std::vector<std::chrono::nanoseconds>{std::chrono::seconds{5}});
}

TEST_F(SearchHandlerTest, aHintNarrowsTheFoldersAndNeverEmptiesThem) {
    world.share(QStringLiteral("/home/marie/Documents"));
    world.share(QStringLiteral("/home/marie/Photos"));
    const QStringList both{QStringLiteral("/home/marie/Documents"), QStringLiteral("/home/marie/Photos")};
    const auto withHints = [&](QStringList hints) {
        handle({QStringLiteral("edf"), hints, {}});
        return scopes();
    };
    EXPECT_EQ(withHints({QStringLiteral("DOCument")}), QStringList{both[0]});
    EXPECT_EQ(withHints({QStringLiteral("Musique")}), both);
    EXPECT_EQ(withHints({QStringLiteral("Musique"), QStringLiteral("photos")}), QStringList{both[1]});
    EXPECT_EQ(withHints({}), both);
    EXPECT_EQ(withHints({QString()}), both);
    EXPECT_EQ(withHints({QString(), QStringLiteral("photos")}), QStringList{both[1]});
    EXPECT_EQ(withHints({QStringLiteral("marie/photo")}), QStringList{both[1]});
}

TEST_F(SearchHandlerTest, hintsAreComparedWithTheirAccents) {
    const std::vector<FileURL> folders{FileURL{QStringLiteral("/Été")}, FileURL{QStringLiteral("/Ete")}};
    EXPECT_EQ(foldersByHints(folders, QStringList{QStringLiteral("e\u0301te\u0301")}), std::vector{folders[0]});
    EXPECT_EQ(foldersByHints(folders, QStringList{QStringLiteral("ETE")}), std::vector{folders[1]});
}

TEST_F(SearchHandlerTest, aLostGrantIsSkippedWithoutAWord) {
    world.share(QStringLiteral("/a"));
    world.share(QStringLiteral("/b"));
    world.bookmarks->lost.insert(QStringLiteral("/a"));
    handle(args(u"edf"));
    EXPECT_EQ(scopes(), QStringList{QStringLiteral("/b")});
    EXPECT_EQ(world.bookmarks->started, 1);
}

TEST_F(SearchHandlerTest, whenEveryGrantIsLostNothingIsFound) {
    world.share(QStringLiteral("/a"));
    world.bookmarks->lost.insert(QStringLiteral("/a"));
    EXPECT_EQ(QJsonDocument(handle(args(u"edf"))).toJson(QJsonDocument::Compact), nothingFound);
    EXPECT_TRUE(world.index.questions.empty());
}

TEST_F(SearchHandlerTest, aFolderWhoseAccessDidNotOpenStaysInTheSearchAndIsNotClosed) {
    world.share(QStringLiteral("/a"));
    world.share(QStringLiteral("/b"));
    world.bookmarks->refused.insert(QStringLiteral("/a"));
    handle(args(u"edf"));
    EXPECT_EQ(scopes(), (QStringList{QStringLiteral("/a"), QStringLiteral("/b")}));
    EXPECT_EQ(world.bookmarks->stopped, 1);
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(SearchHandlerTest, accessStaysOpenUntilTheAnswerWasSent) {
    world.share(QStringLiteral("/a"));
    world.backend.holdUpdates = true;
    Scope scope;
    scope.start(handler.handleSearch({}, args(u"edf"), world.api()));
    ASSERT_TRUE(waitUntil([&] { return world.backend.openUpdates() == 1; }));
    EXPECT_EQ(world.bookmarks->openNow(), 1);
    world.backend.answerUpdate(HttpResponse{.status = 200, .headers = {}, .body = {}});
    ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->stopped, 1);
}

TEST_F(SearchHandlerTest, accessIsClosedOnceWhenTheAnswerCannotBeSent) {
    world.share(QStringLiteral("/a"));
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    handle(args(u"edf"));
    EXPECT_EQ(world.bookmarks->stopped, 1);
    EXPECT_EQ(unsent, QStringLiteral("La connexion au serveur a été coupée."));
    EXPECT_EQ(world.backend.updates.size(), 1U);
}

TEST_F(SearchHandlerTest, accessIsClosedWhenTheJobIsCancelledOrDestroyed) {
    world.share(QStringLiteral("/a"));
    for (const bool cancelled : {true, false}) {
        world.index.answers.push_back({.items = {}, .starts = true, .ends = false});
        Scope scope;
        Job job = scope.start(handler.handleSearch({}, args(u"edf"), world.api()));
        ASSERT_TRUE(waitUntil([&] { return world.bookmarks->openNow() == 1 && world.index.live == 1; }));
        if (cancelled) {
            job.cancel();
            ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
            EXPECT_EQ(world.bookmarks->openNow(), 0);
        }
    }
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->stopped, 2);
    EXPECT_TRUE(world.backend.updates.empty());
    EXPECT_TRUE(unsent.isEmpty());
}

TEST_F(SearchHandlerTest, anErrorAnswerThatCannotBeSentIsDropped) {
    world.backend.preparedUpdates.emplace_back(HttpResponse{.status = 500, .headers = {}, .body = "panne"});
    handle(args(u"edf"));
    EXPECT_TRUE(unsent.isEmpty());
    EXPECT_EQ(world.backend.updates.size(), 1U);
}

TEST_F(SearchHandlerTest, aRefusedSuccessIsToldInItsWords) {
    world.share(QStringLiteral("/a"));
    world.backend.preparedUpdates.emplace_back(HttpResponse{.status = 500, .headers = {}, .body = "panne"});
    handle(args(u"edf"));
    EXPECT_EQ(unsent, QStringLiteral("Erreur HTTP 500 : panne"));
}
