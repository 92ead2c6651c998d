#include "Bridge/PhotosBridgeHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <QJsonArray>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

QDateTime utc(const char* text) { return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate); }

const QString refused = QStringLiteral(
    "Accès Photos refusé. Allez dans Réglages Système → Confidentialité → Photos pour autoriser Vennic.");

struct PhotosBridgeHandlerTest : ::testing::Test {
    BridgeWorld world;
    PhotosBridgeHandler handler{world.photos, world.clock};

    /// A JPEG of that identifier and date.
    void photo(const char* identifier, const char* date = nullptr) {
        PhotoAsset asset;
        asset.localIdentifier = QString::fromLatin1(identifier);
        if (date)
            asset.creationDate = utc(date);
        asset.resource =
            PhotoResource{QStringLiteral("%1.jpg").arg(asset.localIdentifier), QStringLiteral("public.jpeg")};
        world.photos->photos.push_back(asset);
    }
    QJsonObject answerOf(Task<> handling) {
        const std::size_t before = world.backend.updates.size();
        await(std::move(handling));
        EXPECT_EQ(world.backend.updates.size(), before + 1);
        return world.backend.updates.back().body;
    }
    QJsonObject recent(std::optional<qint64> limit = {}) {
        const PhotosRecentArgs args{limit};
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::photosRecent, args};
        return answerOf(handler.handleRecent(task, args, world.api()));
    }
    QJsonObject byDate(qint64 year, std::optional<qint64> month = {}, std::optional<qint64> limit = {}) {
        const PhotosByDateArgs args{year, month, limit};
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::photosByDate, args};
        return answerOf(handler.handleByDate(task, args, world.api()));
    }
    static QString failure(const QJsonObject& body) {
        EXPECT_EQ(body[QLatin1String("status")].toString(), QStringLiteral("error"));
        return body[QLatin1String("error_message")].toString();
    }
    static QJsonArray items(const QJsonObject& body) {
        EXPECT_EQ(body[QLatin1String("status")].toString(), QStringLiteral("done"));
        return body[QLatin1String("result")][QLatin1String("items")].toArray();
    }
    static QStringList ids(const QJsonObject& body) {
        QStringList found;
        for (const auto& item : items(body))
            found.append(item[QLatin1String("id")].toString());
        return found;
    }
    /// The span that a task asks the library for, in UTC.
    std::pair<QString, QString> span(qint64 year, std::optional<qint64> month = {}) {
        items(byDate(year, month));
        const auto created = world.photos->fetches.back().second.value_or(PhotoInterval{});
        return {created.from.toUTC().toString(Qt::ISODate), created.until.toUTC().toString(Qt::ISODate)};
    }
    using Span = std::pair<QString, QString>;
    static Span between(const char* from, const char* until) {
        return {QString::fromLatin1(from), QString::fromLatin1(until)};
    }
};

} // namespace

TEST_F(PhotosBridgeHandlerTest, theLimitIsTenWithoutOneAndElseBetweenOneAndThirty) {
    const std::vector<std::pair<std::optional<qint64>, qint64>> rows{{std::nullopt, 10},
                                                                     {0, 1},
                                                                     {-5, 1},
                                                                     {1, 1},
                                                                     {29, 29},
                                                                     {30, 30},
                                                                     {31, 30},
                                                                     {500, 30},
                                                                     {std::numeric_limits<qint64>::min(), 1},
                                                                     {std::numeric_limits<qint64>::max(), 30}};
    for (const auto& [asked, expected] : rows) {
        recent(asked);
        EXPECT_EQ(world.photos->fetches.back().first, expected) << asked.value_or(-1);
        byDate(2024, 1, asked);
        EXPECT_EQ(world.photos->fetches.back().first, expected) << asked.value_or(-1);
    }
}

TEST_F(PhotosBridgeHandlerTest, recentPhotosComeNewestFirstAndWithoutAnInterval) {
    photo("old", "2019-01-01T00:00:00Z");
    photo("none");
    photo("new", "2025-01-01T00:00:00Z");
    EXPECT_EQ(ids(recent()), (QStringList{QStringLiteral("new"), QStringLiteral("old"), QStringLiteral("none")}));
    EXPECT_FALSE(world.photos->fetches.back().second);
    EXPECT_EQ(ids(recent(1)), QStringList{QStringLiteral("new")});
}

TEST_F(PhotosBridgeHandlerTest, aPhotoTellsAllThatIsKnownOfIt) {
    world.photos->photos.push_back({QStringLiteral("1F/L0/001"), utc("2024-07-14T12:30:45Z").addMSecs(900),
                                    PhotoPlace{48.8583, -2.25},
                                    PhotoResource{QStringLiteral("Été.heic"), QStringLiteral("public.heic")}});
    EXPECT_EQ(items(recent())[0].toObject(),
              (QJsonObject{{QStringLiteral("id"), QStringLiteral("1F/L0/001")},
                           {QStringLiteral("name"), QStringLiteral("Été.heic")},
                           {QStringLiteral("taken_at"), QStringLiteral("2024-07-14T12:30:45Z")},
                           {QStringLiteral("mime"), QStringLiteral("image/heic")},
                           {QStringLiteral("location"),
                            QJsonObject{{QStringLiteral("lat"), 48.8583}, {QStringLiteral("lng"), -2.25}}}}));
}

TEST_F(PhotosBridgeHandlerTest, whatAPhotoDoesNotHaveIsLeftOut) {
    world.photos->photos.push_back({QStringLiteral("A"), {}, {}, {}});
    EXPECT_EQ(items(recent())[0].toObject(), (QJsonObject{{QStringLiteral("id"), QStringLiteral("A")},
                                                          {QStringLiteral("name"), QStringLiteral("(unnamed)")},
                                                          {QStringLiteral("mime"), QStringLiteral("image/jpeg")}}));
}

TEST_F(PhotosBridgeHandlerTest, theDateIsToldInUniversalTime) {
    PhotoAsset asset;
    asset.creationDate = QDateTime(QDate(2024, 1, 1), QTime(0, 30), QTimeZone("Pacific/Auckland"));
    world.photos->photos.push_back(asset);
    EXPECT_EQ(items(recent())[0][QLatin1String("taken_at")].toString(), QStringLiteral("2023-12-31T11:30:00Z"));
}

TEST_F(PhotosBridgeHandlerTest, fiveTypesHaveTheirMimeAndAllOthersCountAsJpeg) {
    const std::vector<std::pair<const char*, const char*>> rows{
        {"public.jpeg", "image/jpeg"},          {"public.png", "image/png"},   {"public.heic", "image/heic"},
        {"public.tiff", "image/tiff"},          {"public.heif", "image/jpeg"}, {"com.compuserve.gif", "image/gif"},
        {"org.webmproject.webp", "image/jpeg"}, {"PUBLIC.PNG", "image/jpeg"},  {"", "image/jpeg"}};
    for (const auto& [type, mime] : rows) {
        world.photos->photos = {{QStringLiteral("A"), {}, {}, PhotoResource{QStringLiteral("x"), QLatin1String(type)}}};
        EXPECT_EQ(items(recent())[0][QLatin1String("mime")].toString(), QLatin1String(mime)) << type;
    }
}

TEST_F(PhotosBridgeHandlerTest, anEmptyLibraryIsAnEmptyList) { EXPECT_EQ(items(recent()), QJsonArray()); }

TEST_F(PhotosBridgeHandlerTest, aYearRunsToTheFirstOfDecemberOfTheNextOne) {
    EXPECT_EQ(span(2024), between("2024-01-01T00:00:00Z", "2025-12-01T00:00:00Z"));
    photo("before", "2023-12-31T23:59:59Z");
    photo("first", "2024-01-01T00:00:00Z");
    photo("last", "2025-11-30T23:59:59Z");
    photo("after", "2025-12-01T00:00:00Z");
    photo("undated");
    EXPECT_EQ(ids(byDate(2024)), (QStringList{QStringLiteral("last"), QStringLiteral("first")}));
}

TEST_F(PhotosBridgeHandlerTest, aMonthRunsToTheFirstOfTheNextOneAndDecemberIntoJanuary) {
    EXPECT_EQ(span(2024, 1), between("2024-01-01T00:00:00Z", "2024-02-01T00:00:00Z"));
    EXPECT_EQ(span(2024, 2), between("2024-02-01T00:00:00Z", "2024-03-01T00:00:00Z"));
    EXPECT_EQ(span(2024, 12), between("2024-12-01T00:00:00Z", "2025-01-01T00:00:00Z"));
}

TEST_F(PhotosBridgeHandlerTest, theCalendarCarriesAnyMonthOverIntoOtherYears) {
    EXPECT_EQ(span(2024, 13), between("2025-01-01T00:00:00Z", "2025-02-01T00:00:00Z"));
    EXPECT_EQ(span(2024, 0), between("2023-12-01T00:00:00Z", "2024-01-01T00:00:00Z"));
    EXPECT_EQ(span(2024, -12), between("2022-12-01T00:00:00Z", "2023-01-01T00:00:00Z"));
}

TEST_F(PhotosBridgeHandlerTest, aMonthBeginsWhenItDoesInTheMachinesZone) {
    world.clock.inZone = QTimeZone("Europe/Paris");
    EXPECT_EQ(span(2024, 3), between("2024-02-29T23:00:00Z", "2024-03-31T22:00:00Z")); // summer time has come meanwhile
    EXPECT_EQ(span(2024), between("2023-12-31T23:00:00Z", "2025-11-30T23:00:00Z"));
    world.clock.inZone = QTimeZone("Pacific/Kiritimati");
    EXPECT_EQ(span(2024, 12), between("2024-11-30T10:00:00Z", "2024-12-31T10:00:00Z"));
    world.clock.inZone = QTimeZone("America/Asuncion"); // at midnight of this day the clocks went to one o'clock
    EXPECT_EQ(span(2023, 10), between("2023-10-01T04:00:00Z", "2023-11-01T03:00:00Z"));
}

TEST_F(PhotosBridgeHandlerTest, datesThatNoCalendarHasAreRefusedBeforeAnybodyIsAsked) {
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    world.photos->status = PhotoAuthorization::notDetermined;
    const std::vector<std::pair<qint64, std::optional<qint64>>> rows{
        {0, {}},      {0, 1},        {-1, {}},     {most, {}},     {most - 1, {}},     {least, {}},
        {2024, most}, {2024, least}, {most, most}, {least, least}, {99'999'999'999, 1}};
    for (const auto& [year, month] : rows)
        EXPECT_EQ(failure(byDate(year, month)), QStringLiteral("invalid_date_components")) << year;
    EXPECT_EQ(world.photos->requests, 0);
    EXPECT_TRUE(world.photos->fetches.empty());
}

TEST_F(PhotosBridgeHandlerTest, withAccessDeniedTheTaskFailsAndNobodyIsAsked) {
    photo("A", "2024-01-01T00:00:00Z");
    for (const auto status : {PhotoAuthorization::denied, PhotoAuthorization::restricted}) {
        world.photos->status = status;
        EXPECT_EQ(failure(recent()), refused);
        EXPECT_EQ(failure(byDate(2024)), refused);
    }
    EXPECT_EQ(world.photos->requests, 0);
    EXPECT_TRUE(world.photos->fetches.empty());
}

TEST_F(PhotosBridgeHandlerTest, accessToSomePhotosIsAccess) {
    photo("A");
    world.photos->status = PhotoAuthorization::limited;
    EXPECT_EQ(ids(recent()), QStringList{QStringLiteral("A")});
}

TEST_F(PhotosBridgeHandlerTest, theFirstTaskAsksAndWaitsForTheAnswer) {
    photo("A");
    world.photos->status = PhotoAuthorization::notDetermined;
    world.photos->holdRequests = true;
    Scope scope;
    scope.start(handler.handleRecent({QStringLiteral("t1"), BridgeTaskKind::photosRecent, PhotosRecentArgs{}}, {},
                                     world.api()));
    ASSERT_TRUE(waitUntil([&] { return world.photos->requests == 1; }));
    EXPECT_TRUE(world.backend.updates.empty());
    world.photos->answered.set();
    ASSERT_TRUE(waitUntil([&] { return world.backend.updates.size() == 1; }));
    EXPECT_EQ(ids(world.backend.updates[0].body), QStringList{QStringLiteral("A")});
    recent();
    EXPECT_EQ(world.photos->requests, 1);
}

TEST_F(PhotosBridgeHandlerTest, eachAnswerOfTheUserDecides) {
    using enum PhotoAuthorization;
    for (const auto& [says, granted] : {std::pair(authorized, true), std::pair(limited, true), std::pair(denied, false),
                                        std::pair(restricted, false), std::pair(notDetermined, false)}) {
        world.photos->status = notDetermined;
        world.photos->userSays = says;
        EXPECT_EQ(await(handler.ensureAuthorized()), granted);
        world.photos->status = notDetermined;
        if (granted)
            items(byDate(2024));
        else
            EXPECT_EQ(failure(byDate(2024)), refused);
    }
}

TEST_F(PhotosBridgeHandlerTest, aSuccessThatCannotBeSentIsDropped) {
    world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    recent();
    world.photos->status = PhotoAuthorization::denied;
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    recent();
    EXPECT_EQ(world.backend.updates.size(), 2U);
    EXPECT_FALSE(world.service->lastErrorMessage());
}

TEST_F(PhotosBridgeHandlerTest, itemsAreAlsoFetchedWithoutATask) {
    photo("A", "2024-05-01T00:00:00Z");
    photo("B", "2024-06-01T00:00:00Z");
    EXPECT_EQ(handler.fetchItems({}, std::nullopt).size(), 2U);
    const auto may = handler.fetchItems(5, PhotoInterval{utc("2024-05-01T00:00:00Z"), utc("2024-06-01T00:00:00Z")});
    ASSERT_EQ(may.size(), 1U);
    EXPECT_EQ(may[0].id, QStringLiteral("A"));
}

TEST_F(PhotosBridgeHandlerTest, theBridgeGivesBothKindsToIt) {
    photo("A", "2024-05-01T00:00:00Z");
    world.service->start(SecretText("token"));
    ASSERT_TRUE(waitUntil([&] { return world.backend.openPolls() == 1; }));
    world.backend.answerPoll(200, R"({"id":"t1","kind":"photos_recent"})");
    ASSERT_TRUE(waitUntil([&] { return world.backend.polls.size() == 2; }));
    world.backend.answerPoll(200, taskJson("photos_by_date", R"({"year":2024,"month":5})", "t2"));
    ASSERT_TRUE(waitUntil([&] { return world.backend.updates.size() == 2; }));
    EXPECT_EQ(ids(world.backend.updates[0].body), QStringList{QStringLiteral("A")});
    EXPECT_EQ(ids(world.backend.updates[1].body), QStringList{QStringLiteral("A")});
}
