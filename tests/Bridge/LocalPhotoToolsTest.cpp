#include "Bridge/LocalPhotoTools.h"

#include "Bridge/LocalToolWorld.h"

namespace vennic::test {
namespace {

struct LocalPhotoToolsTest : testing::Test {
    LocalToolWorld world;

    LocalPhotoToolsTest() { world.clock.inZone = QTimeZone("Europe/Paris"); }
    PhotoAsset& photo(const char* id, const char* name, const QDateTime& taken = {}) {
        PhotoAsset asset;
        asset.localIdentifier = QString::fromUtf8(id);
        if (taken.isValid())
            asset.creationDate = taken;
        if (name)
            asset.resource = PhotoResource{QString::fromUtf8(name), QStringLiteral("public.jpeg")};
        world.photos->photos.push_back(asset);
        return world.photos->photos.back();
    }
    QString recent(const QJsonObject& arguments = {}) { return world.run("list_recent_photos", arguments); }
    QString fromDate(const QJsonObject& arguments) { return world.run("list_photos_from_date", arguments); }
    QString ofMonth(const QJsonValue& year, const QJsonValue& month = QJsonValue::Undefined) {
        QJsonObject arguments{{QStringLiteral("year"), year}};
        if (!month.isUndefined())
            arguments.insert(QStringLiteral("month"), month);
        return fromDate(arguments);
    }
    std::optional<PhotoInterval> asked() { return world.photos->fetches.back().second; }
    static QDateTime utc(int year, int month, int day, int hour = 0) {
        return {{year, month, day}, {hour, 0}, Qt::UTC};
    }
};

TEST_F(LocalPhotoToolsTest, eachPhotoIsALinkWithItsDateAndPlace) {
    photo("a/b ç;(1)", "plage.jpg", utc(2024, 7, 14, 10)).location = PhotoPlace{48.8584, -2.29451};
    photo("c", "bureau.jpg", utc(2023, 11, 2, 8)).location = PhotoPlace{0, 10.00006};
    photo("d", nullptr);
    EXPECT_EQ(
        recent(),
        QStringLiteral(
            "1. [plage.jpg](vennic://local_photo/view/a%2Fb%20%C3%A7%3B(1)) — 2024-07-14T10:00:00Z @ 48.8584,-2.2945\n"
            "2. [bureau.jpg](vennic://local_photo/view/c) — 2023-11-02T08:00:00Z @ 0.0000,10.0001\n"
            "3. [(unnamed)](vennic://local_photo/view/d) — unknown"));
}

TEST_F(LocalPhotoToolsTest, withoutPhotosTheModelIsToldSo) {
    EXPECT_EQ(recent(), QStringLiteral("No photos matched."));
    photo("a", "a.jpg", utc(2020, 1, 1));
    EXPECT_EQ(ofMonth(2023), QStringLiteral("No photos matched."));
}

TEST_F(LocalPhotoToolsTest, refusedAccessIsToldInTheWordsOfTheBridge) {
    world.photos->status = PhotoAuthorization::denied;
    const QString refused =
        QStringLiteral("Accès Photos refusé. Allez dans Réglages Système → Confidentialité → Photos pour autoriser "
                       "Vennic.");
    EXPECT_EQ(recent(), refused);
    EXPECT_EQ(ofMonth(2024), refused);
    EXPECT_EQ(world.photos->requests, 0);
    world.photos->status = PhotoAuthorization::notDetermined;
    world.photos->userSays = PhotoAuthorization::denied;
    EXPECT_EQ(recent(), refused);
    EXPECT_EQ(world.photos->requests, 1);
}

TEST_F(LocalPhotoToolsTest, theLimitIsTenByDefaultAndLiesBetweenOneAndThirty) {
    const auto asked = [&](const QJsonValue& limit) {
        recent({{QStringLiteral("limit"), limit}});
        return world.photos->fetches.back().first;
    };
    EXPECT_EQ(asked(0), 1);
    EXPECT_EQ(asked(-3), 1);
    EXPECT_EQ(asked(7), 7);
    EXPECT_EQ(asked(500), 30);
    EXPECT_EQ(asked(2.5), 10);
    EXPECT_EQ(asked(QStringLiteral("7")), 10);
    recent();
    EXPECT_EQ(world.photos->fetches.back().first, 10);
    EXPECT_EQ(this->asked(), std::nullopt);
    fromDate({{QStringLiteral("year"), 2024}, {QStringLiteral("limit"), 99}});
    EXPECT_EQ(world.photos->fetches.back().first, 30);
}

TEST_F(LocalPhotoToolsTest, aWholeYearGoesOnToTheEndOfNovemberOfTheNext) {
    ofMonth(2024);
    EXPECT_EQ(asked(), (PhotoInterval{utc(2023, 12, 31, 23), utc(2025, 11, 30, 23)}));
    photo("in", "in.jpg", utc(2025, 11, 30, 22));
    photo("out", "out.jpg", utc(2025, 11, 30, 23));
    EXPECT_TRUE(ofMonth(2024).startsWith(QStringLiteral("1. [in.jpg]")));
    EXPECT_FALSE(ofMonth(2024).contains(QStringLiteral("out")));
}

TEST_F(LocalPhotoToolsTest, aMonthEndsWhereTheNextBegins) {
    ofMonth(2024, 7);
    EXPECT_EQ(asked(), (PhotoInterval{utc(2024, 6, 30, 22), utc(2024, 7, 31, 22)}));
    ofMonth(2024, 12);
    EXPECT_EQ(asked(), (PhotoInterval{utc(2024, 11, 30, 23), utc(2024, 12, 31, 23)}));
    ofMonth(2024, QStringLiteral("juillet"));
    EXPECT_EQ(asked(), (PhotoInterval{utc(2023, 12, 31, 23), utc(2025, 11, 30, 23)})) << "no number, no month";
}

TEST_F(LocalPhotoToolsTest, aYearIsRequiredAndHasToBeOne) {
    for (const char* arguments :
         {"", "{}", R"({"year":"2024"})", R"({"year":2024.5})", R"({"year":null})", R"({"month":7})"})
        EXPECT_EQ(world.runRaw("list_photos_from_date", QString::fromUtf8(arguments)), QStringLiteral("Missing year."))
            << arguments;
    for (const char* arguments :
         {R"({"year":0})", R"({"year":9223372036854775807})", R"({"year":2024,"month":9223372036854775807})",
          R"({"year":-9223372036854775808})", R"({"year":99999999999})"})
        EXPECT_EQ(world.runRaw("list_photos_from_date", QString::fromUtf8(arguments)),
                  QStringLiteral("Invalid date components."))
            << arguments;
    EXPECT_TRUE(world.photos->fetches.empty());
}

} // namespace
} // namespace vennic::test
