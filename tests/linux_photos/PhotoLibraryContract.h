#pragma once
#include "ports/PhotoLibrary.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic::test {

/// What the contract of PhotoLibrary needs around a library whose user hasn't decided yet.
class PhotoLibraryWorld {
public:
    virtual ~PhotoLibraryWorld() = default;
    virtual PhotoLibrary& library() = 0;
    /// A photo of that name (JPEG), taken at that moment ("2024:07:14 12:30:45", UTC) unless it is empty, at 48°N 2°E
    /// if it has a place.
    virtual void add(const QString& name, const QByteArray& taken, bool hasPlace) = 0;
    /// The bytes of that photo.
    virtual QByteArray bytes(const QString& name) = 0;
    /// What the user will say when they are asked.
    virtual void userWillSay(bool yes) = 0;
    virtual void nobodyCanBeAsked() = 0;
};

/// What every PhotoLibrary promises. `World` is a PhotoLibraryWorld that can be made without arguments.
template <class World>
class PhotoLibraryContract : public ::testing::Test {
protected:
    World world_;

    void allow() {
        world_.userWillSay(true);
        await(world_.library().requestAuthorization());
    }
    void addThree() {
        world_.add(QStringLiteral("mai.jpg"), "2024:05:20 10:00:00", false);
        world_.add(QStringLiteral("juin.jpg"), "2024:06:20 10:00:00", true);
        world_.add(QStringLiteral("sans.jpg"), "", false);
    }
    QStringList fetch(qint64 limit, std::optional<PhotoInterval> created = {}) {
        QStringList names;
        for (const PhotoAsset& asset : world_.library().fetchImages(limit, created))
            names.append(asset.resource->originalFilename);
        return names;
    }
    static QDateTime utc(int month, int day, int hour) {
        return QDateTime(QDate(2024, month, day), QTime(hour, 0), Qt::UTC);
    }
    static QStringList list(std::initializer_list<const char*> names) {
        QStringList result;
        for (const char* name : names)
            result.append(QString::fromUtf8(name));
        return result;
    }
};

TYPED_TEST_SUITE_P(PhotoLibraryContract);

TYPED_TEST_P(PhotoLibraryContract, isEmptyUntilTheUserHasAgreed) {
    this->addThree();
    EXPECT_EQ(this->world_.library().authorizationStatus(), PhotoAuthorization::notDetermined);
    EXPECT_EQ(this->fetch(10), QStringList());
    this->allow();
    EXPECT_EQ(this->world_.library().authorizationStatus(), PhotoAuthorization::authorized);
    EXPECT_EQ(this->fetch(10).size(), 3);
}

TYPED_TEST_P(PhotoLibraryContract, staysEmptyWhenTheUserRefuses) {
    this->addThree();
    this->world_.userWillSay(false);
    EXPECT_EQ(await(this->world_.library().requestAuthorization()), PhotoAuthorization::denied);
    EXPECT_EQ(this->fetch(10), QStringList());
    EXPECT_FALSE(this->world_.library().asset(QStringLiteral("x")));
    EXPECT_FALSE(this->world_.library().imageData(QStringLiteral("x")));
}

TYPED_TEST_P(PhotoLibraryContract, whoHasDecidedIsNotAskedAgain) {
    this->world_.userWillSay(false);
    await(this->world_.library().requestAuthorization());
    this->world_.userWillSay(true);
    EXPECT_EQ(await(this->world_.library().requestAuthorization()), PhotoAuthorization::denied);
}

TYPED_TEST_P(PhotoLibraryContract, whereNobodyCanBeAskedNothingIsDecided) {
    this->world_.nobodyCanBeAsked();
    EXPECT_EQ(await(this->world_.library().requestAuthorization()), PhotoAuthorization::notDetermined);
    EXPECT_EQ(this->world_.library().authorizationStatus(), PhotoAuthorization::notDetermined);
}

TYPED_TEST_P(PhotoLibraryContract, givesTheNewestFirstAndThoseWithoutADateLast) {
    this->allow();
    this->addThree();
    EXPECT_EQ(this->fetch(10), this->list({"juin.jpg", "mai.jpg", "sans.jpg"}));
    EXPECT_EQ(this->fetch(2), this->list({"juin.jpg", "mai.jpg"}));
    EXPECT_EQ(this->fetch(0), QStringList());
    EXPECT_EQ(this->fetch(-3), QStringList());
}

TYPED_TEST_P(PhotoLibraryContract, anIntervalHoldsItsBeginningAndNotItsEnd) {
    this->allow();
    this->addThree();
    const auto between = [this](const QDateTime& from, const QDateTime& until) {
        return this->fetch(10, PhotoInterval{from, until});
    };
    EXPECT_EQ(between(this->utc(5, 20, 10), this->utc(6, 20, 10)), this->list({"mai.jpg"}));
    EXPECT_EQ(between(this->utc(5, 20, 11), this->utc(6, 20, 11)), this->list({"juin.jpg"}));
    EXPECT_EQ(between(this->utc(1, 1, 0), this->utc(12, 31, 0)), this->list({"juin.jpg", "mai.jpg"}));
    EXPECT_EQ(between(this->utc(6, 20, 10), this->utc(6, 20, 10)), QStringList());
    EXPECT_EQ(between(this->utc(12, 31, 0), this->utc(1, 1, 0)), QStringList());
    EXPECT_EQ(this->fetch(1, PhotoInterval{this->utc(1, 1, 0), this->utc(12, 31, 0)}), this->list({"juin.jpg"}));
}

TYPED_TEST_P(PhotoLibraryContract, aPhotoTellsWhatIsKnownOfItAndNothingElse) {
    this->allow();
    this->addThree();
    const auto photos = this->world_.library().fetchImages(10, std::nullopt);
    ASSERT_EQ(photos.size(), 3U);
    EXPECT_EQ(photos[0].creationDate, this->utc(6, 20, 10));
    EXPECT_EQ(photos[0].location, (PhotoPlace{48, 2}));
    EXPECT_EQ(photos[0].resource, (PhotoResource{QStringLiteral("juin.jpg"), QStringLiteral("public.jpeg")}));
    EXPECT_FALSE(photos[1].location);
    EXPECT_FALSE(photos[2].creationDate);
    EXPECT_NE(photos[0].localIdentifier, photos[1].localIdentifier);
}

TYPED_TEST_P(PhotoLibraryContract, aPhotoIsFoundByItsIdentifierAndItsImageGiven) {
    this->allow();
    this->addThree();
    const PhotoAsset newest = this->world_.library().fetchImages(1, std::nullopt).at(0);
    EXPECT_EQ(this->world_.library().asset(newest.localIdentifier), newest);
    EXPECT_EQ(this->world_.library().imageData(newest.localIdentifier),
              (PhotoImage{this->world_.bytes(QStringLiteral("juin.jpg")), QStringLiteral("public.jpeg")}));
}

TYPED_TEST_P(PhotoLibraryContract, anUnknownIdentifierNamesNothing) {
    this->allow();
    this->addThree();
    for (const char* id : {"", "nobody", "juin.jpg", "../juin.jpg", "'; DROP TABLE photo; --", "%"}) {
        EXPECT_FALSE(this->world_.library().asset(QString::fromUtf8(id)));
        EXPECT_FALSE(this->world_.library().imageData(QString::fromUtf8(id)));
    }
}

REGISTER_TYPED_TEST_SUITE_P(PhotoLibraryContract, isEmptyUntilTheUserHasAgreed, staysEmptyWhenTheUserRefuses,
                            whoHasDecidedIsNotAskedAgain, whereNobodyCanBeAskedNothingIsDecided,
                            givesTheNewestFirstAndThoseWithoutADateLast, anIntervalHoldsItsBeginningAndNotItsEnd,
                            aPhotoTellsWhatIsKnownOfItAndNothingElse, aPhotoIsFoundByItsIdentifierAndItsImageGiven,
                            anUnknownIdentifierNamesNothing);

} // namespace vennic::test
