// Which file is which photo, through all that happens to files.
#include "linux_photos/PicturesWorld.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QUuid>

#include <filesystem>
#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

QString s(const char* text) { return QString::fromUtf8(text); }

class PhotoIdentity : public ::testing::Test {
protected:
    void SetUp() override {
        world.photo(s("a.jpg"), "2024:01:01 10:00:00");
        world.photo(s("b.jpg"), "2024:02:02 10:00:00");
        world.photo(s("été/c.jpg"), "2024:03:03 10:00:00");
        world.allow();
        a = world.id(s("a.jpg"));
        b = world.id(s("b.jpg"));
        c = world.id(s("c.jpg"));
        ASSERT_TRUE(!a.isEmpty() && !b.isEmpty() && !c.isEmpty());
    }
    PicturesWorld world;
    QString a, b, c;
};

} // namespace

TEST_F(PhotoIdentity, identifiersAreRandomAndSayNothingOfTheFile) {
    for (const QString& id : {a, b, c})
        EXPECT_EQ(QUuid(id).toString(QUuid::WithoutBraces).toUpper(), id);
    EXPECT_EQ(QSet<QString>({a, b, c}).size(), 3);
}

TEST_F(PhotoIdentity, survivesARestartWithoutReadingAnythingAgain) {
    const int reads = world.reader.reads();
    world.reopen();
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.id(s("c.jpg")), c);
    EXPECT_EQ(world.reader.reads(), reads);
}

TEST_F(PhotoIdentity, survivesARename) {
    const int reads = world.reader.reads();
    world.rename(s("a.jpg"), s("Plage à Étretat.jpg"));
    EXPECT_EQ(world.id(s("Plage à Étretat.jpg")), a);
    EXPECT_EQ(world.id(s("a.jpg")), QString());
    EXPECT_EQ(world.reader.reads(), reads);
}

TEST_F(PhotoIdentity, survivesAMoveBetweenFolders) {
    world.rename(s("a.jpg"), s("été/a.jpg"));
    world.rename(s("été/c.jpg"), s("c.jpg"));
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.id(s("c.jpg")), c);
    EXPECT_EQ(world.all().size(), 3U);
}

TEST_F(PhotoIdentity, survivesTheRenameAndTheMoveOfItsFolder) {
    world.rename(s("été"), s("vacances"));
    EXPECT_EQ(world.id(s("c.jpg")), c);
    QDir().mkpath(world.path(s("2024")));
    world.rename(s("vacances"), s("2024/vacances"));
    EXPECT_EQ(world.id(s("c.jpg")), c);
    world.rename(s("2024/vacances/c.jpg"), s("2024/vacances/d.jpg")); // it is still followed
    EXPECT_EQ(world.id(s("d.jpg")), c);
}

TEST_F(PhotoIdentity, survivesWhatHappensWhileTheLibraryIsClosed) {
    const int reads = world.reader.reads();
    world.close();
    world.rename(s("été"), s("vacances"));
    world.rename(s("a.jpg"), s("vacances/z.jpg"));
    world.reopen();
    EXPECT_EQ(world.id(s("c.jpg")), c);
    EXPECT_EQ(world.id(s("z.jpg")), a);
    EXPECT_EQ(world.reader.reads(), reads);
}

TEST_F(PhotoIdentity, survivesTheRenameOfThePicturesFolderItself) {
    std::filesystem::rename(world.pictures().toStdString(), (world.home() + s("/Pictures")).toStdString());
    world.settings.folder = [home = world.home()] { return (home + s("/Pictures")).toStdString(); };
    world.reopen();
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.id(s("c.jpg")), c);
    EXPECT_EQ(world.all().size(), 3U);
}

TEST_F(PhotoIdentity, twoPhotosThatSwapTheirNamesStayThemselves) {
    world.rename(s("a.jpg"), s(".swap"));
    world.rename(s("b.jpg"), s("a.jpg"));
    world.rename(s(".swap"), s("b.jpg"));
    EXPECT_EQ(world.id(s("b.jpg")), a);
    EXPECT_EQ(world.id(s("a.jpg")), b);
    world.close();
    world.rename(s("a.jpg"), s(".swap"));
    world.rename(s("b.jpg"), s("a.jpg"));
    world.rename(s(".swap"), s("b.jpg"));
    world.reopen();
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.id(s("b.jpg")), b);
}

TEST_F(PhotoIdentity, namesThatMoveUpByOneStayWithTheirPhotos) {
    world.rename(s("b.jpg"), s("c.jpg"));
    world.rename(s("a.jpg"), s("b.jpg"));
    world.photo(s("a.jpg"), "2024:09:09 10:00:00");
    EXPECT_EQ(world.id(s("b.jpg")), a);
    EXPECT_NE(world.id(s("a.jpg")), a);
    EXPECT_NE(world.id(s("a.jpg")), b);
    ASSERT_EQ(world.all().size(), 4U);
    EXPECT_TRUE(world.library().asset(b));
}

TEST_F(PhotoIdentity, anEditedPhotoStaysItself) {
    world.put(s("a.jpg"), jpegWith(ExifMaker().takenAt("2024:01:01 10:00:00").at(45, 5).block())); // written in place
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.library().asset(a)->location, (PhotoPlace{45, 5}));
    world.replace(s("a.jpg"), jpegWith(ExifMaker().takenAt("2024:01:01 10:00:00").at(46, 6).block())); // or anew
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.library().asset(a)->location, (PhotoPlace{46, 6}));
}

TEST_F(PhotoIdentity, aDateThatIsPutRightInPlaceChangesNoIdentifier) {
    world.photo(s("a.jpg"), "2023:12:31 10:00:00");
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.library().asset(a)->creationDate, QDateTime(QDate(2023, 12, 31), QTime(10, 0), Qt::UTC));
}

TEST_F(PhotoIdentity, anotherPhotoUnderTheNameOfOneThatHasGoneIsAnotherPhoto) {
    world.replace(s("a.jpg"), jpegTaken("2025:01:01 10:00:00"));
    const QString other = world.id(s("a.jpg"));
    EXPECT_NE(other, a);
    EXPECT_FALSE(world.library().asset(a));
    world.remove(s("a.jpg"));
    EXPECT_EQ(world.all().size(), 2U);
    world.photo(s("a.jpg"), "2025:02:02 10:00:00");
    EXPECT_NE(world.id(s("a.jpg")), other);
    EXPECT_NE(world.id(s("a.jpg")), a);
}

TEST_F(PhotoIdentity, aBackupThatKeepsTheOldFileKeepsTheOldIdentifier) {
    world.rename(s("a.jpg"), s("a-orig.jpg"));
    world.photo(s("a.jpg"),
                "2024:01:01 10:00:00"); // the same moment: an edit, but the file it was made of is still there
    EXPECT_EQ(world.id(s("a-orig.jpg")), a);
    EXPECT_NE(world.id(s("a.jpg")), a);
}

TEST_F(PhotoIdentity, aPhotoThatWasAwayIsTheSameWhenItIsBack) {
    const QString outside = world.home() + s("/dehors.jpg");
    std::filesystem::rename(world.path(s("a.jpg")).toStdString(), outside.toStdString());
    EXPECT_EQ(world.id(s("a.jpg")), QString());
    world.reopen();
    std::filesystem::rename(outside.toStdString(), world.path(s("de-retour.jpg")).toStdString());
    EXPECT_EQ(world.id(s("de-retour.jpg")), a);
}

TEST_F(PhotoIdentity, aFolderThatWasAwayBringsItsPhotosBack) {
    std::filesystem::rename(world.path(s("été")).toStdString(), (world.home() + s("/loin")).toStdString());
    EXPECT_TRUE(world.has({s("a.jpg"), s("b.jpg")}));
    std::filesystem::rename((world.home() + s("/loin")).toStdString(), world.path(s("été")).toStdString());
    EXPECT_EQ(world.id(s("c.jpg")), c);
}

TEST_F(PhotoIdentity, aSecondNameOfAFileIsAPhotoOfItsOwn) {
    std::filesystem::create_hard_link(world.path(s("a.jpg")).toStdString(), world.path(s("z.jpg")).toStdString());
    const QString second = world.id(s("z.jpg"));
    EXPECT_FALSE(second.isEmpty());
    EXPECT_NE(second, a);
    EXPECT_EQ(world.id(s("a.jpg")), a);
    world.reopen();
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.id(s("z.jpg")), second);
}

TEST_F(PhotoIdentity, refusingAndAgreeingAgainChangesNoIdentifier) {
    world.deny();
    EXPECT_EQ(world.all().size(), 0U);
    world.allow();
    EXPECT_EQ(world.id(s("a.jpg")), a);
    EXPECT_EQ(world.id(s("c.jpg")), c);
}

TEST_F(PhotoIdentity, aPhotoThatIsCutShortForAWhileIsTheSameAfterwards) {
    const QByteArray whole = jpegTaken("2024:01:01 10:00:00");
    world.put(s("a.jpg"), whole.left(whole.size() / 2));
    EXPECT_TRUE(world.has({s("b.jpg"), s("c.jpg")}));
    world.put(s("a.jpg"), whole);
    EXPECT_EQ(world.id(s("a.jpg")), a);
}
