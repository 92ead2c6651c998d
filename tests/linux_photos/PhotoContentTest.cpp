// What counts as a photo, and what is told of it.
#include "base/LocalizedError.h"
#include "linux_photos/PicturesWorld.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

QString s(const char* text) { return QString::fromUtf8(text); }
QDateTime utc(int year, int month, int day, int hour, int minute = 0, int second = 0, int millisecond = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, millisecond), Qt::UTC);
}

class PhotoContent : public ::testing::Test {
protected:
    void SetUp() override { world.allow(); }
    std::optional<QDateTime> takenAt(const QByteArray& jpeg) {
        world.put(s("x.jpg"), jpeg);
        const auto photos = world.all();
        return photos.size() == 1 ? photos[0].creationDate : std::nullopt;
    }
    QString typeOf(const char* name) {
        for (const PhotoAsset& asset : world.all()) {
            if (asset.resource->originalFilename == QString::fromUtf8(name))
                return asset.resource->uniformTypeIdentifier;
        }
        return {};
    }
    PicturesWorld world;
};

} // namespace

TEST_F(PhotoContent, onlyImagesArePhotos) {
    world.photo(s("une.jpg"), "2024:01:01 10:00:00");
    world.put(s("notes.txt"), "bonjour");
    world.put(s("film.mp4"), QByteArray("\0\0\0\x18"
                                        "ftypmp42",
                                        12));
    world.put(s("dessin.svg"), "<svg xmlns='http://www.w3.org/2000/svg'/>");
    world.put(s("photo.txt"), jpegTaken("2024:01:01 10:00:00"));
    world.put(s("sans-extension"), jpegTaken("2024:01:01 10:00:00"));
    EXPECT_EQ(world.names(), QStringList{s("une.jpg")});
}

TEST_F(PhotoContent, theContentDecidesTheType) {
    world.put(s("a.JPG"), jpegWith());
    world.put(s("b.jpg"), pngWith());
    world.put(s("c.png"), gifPicture());
    world.put(s("d.jpeg"), webpWith());
    world.put(s("e.jpg"), tiffWith());
    world.put(s("f.tif"), bmpPicture());
    EXPECT_EQ(world.all().size(), 6U);
    EXPECT_EQ(typeOf("a.JPG"), s("public.jpeg"));
    EXPECT_EQ(typeOf("b.jpg"), s("public.png"));
    EXPECT_EQ(typeOf("c.png"), s("com.compuserve.gif"));
    EXPECT_EQ(typeOf("d.jpeg"), s("org.webmproject.webp"));
    EXPECT_EQ(typeOf("e.jpg"), s("public.tiff"));
    EXPECT_EQ(typeOf("f.tif"), s("com.microsoft.bmp"));
}

TEST_F(PhotoContent, theMajorBrandTellsHeicFromOtherHeif) {
    QFile file(s(VENNIC_TEST_DATA "/photos/dated.heic"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    ASSERT_EQ(bytes.mid(4, 8), "ftypheic"); // ISO/IEC 23008-12: size, "ftyp", major brand
    world.put(s("a.jpg"), bytes);
    world.put(s("b.heic"), bytes.replace(8, 4, "mif1"));
    EXPECT_EQ(world.all().size(), 2U);
    EXPECT_EQ(typeOf("a.jpg"), s("public.heic"));
    EXPECT_EQ(typeOf("b.heic"), s("public.heif"));
}

TEST_F(PhotoContent, filesThatLieAboutTheirTypeAndThoseCutShortAreAbsent) {
    world.put(s("texte.jpg"), "bonjour");
    world.put(s("vide.jpg"), "");
    world.put(s("programme.png"), "MZ\x90");
    world.put(s("coupee.jpg"), jpegTaken("2024:01:01 10:00:00").chopped(2));
    world.put(s("coupee.png"), pngWith().chopped(1));
    world.photo(s("bonne.jpg"), "2024:01:01 10:00:00");
    EXPECT_EQ(world.names(), QStringList{s("bonne.jpg")});
    EXPECT_EQ(world.library().status().waiting, 0);
}

TEST_F(PhotoContent, hiddenFilesAndFoldersAreLeftAlone) {
    world.photo(s(".cachee.jpg"), "2024:01:01 10:00:00");
    world.photo(s(".vignettes/x.jpg"), "2024:01:01 10:00:00");
    world.photo(s("vue.jpg"), "2024:01:01 10:00:00");
    EXPECT_EQ(world.names(), QStringList{s("vue.jpg")});
    EXPECT_EQ(world.reader.reads(), 1);
}

TEST_F(PhotoContent, linksAreNotFollowed) {
    namespace fs = std::filesystem;
    const std::string outside = world.home().toStdString() + "/dehors";
    fs::create_directories(outside);
    world.photo(s("vraie.jpg"), "2024:01:01 10:00:00");
    fs::copy_file(world.path(s("vraie.jpg")).toStdString(), outside + "/secrete.jpg");
    fs::create_symlink(outside + "/secrete.jpg", world.path(s("lien.jpg")).toStdString());
    fs::create_directory_symlink(outside, world.path(s("dossier")).toStdString());
    fs::create_directory_symlink(world.pictures().toStdString(), world.path(s("cercle")).toStdString());
    EXPECT_EQ(world.names(), QStringList{s("vraie.jpg")});
}

TEST_F(PhotoContent, pipesAndDevicesAreNeverOpened) {
    ASSERT_EQ(mkfifo(world.path(s("tuyau.jpg")).toUtf8().constData(), 0600), 0);
    world.photo(s("vraie.jpg"), "2024:01:01 10:00:00");
    EXPECT_EQ(world.names(), QStringList{s("vraie.jpg")});
}

TEST_F(PhotoContent, anyNameIsTold) {
    const QString odd = s("l'été \"à\" 100% \\ ; --  \n 写真.jpg");
    world.photo(odd, "2024:01:01 10:00:00");
    EXPECT_EQ(world.names(), QStringList{odd});
    EXPECT_EQ(world.library().imageData(world.id(odd))->data, jpegTaken("2024:01:01 10:00:00"));
}

TEST_F(PhotoContent, aNameThatIsNoTextStillNamesAPhoto) {
    world.photo(s("x.jpg"), "2024:01:01 10:00:00");
    std::filesystem::rename(world.path(s("x.jpg")).toStdString(), world.pictures().toStdString() + "/\xff\xfe.jpg");
    const auto photos = world.all();
    ASSERT_EQ(photos.size(), 1U);
    EXPECT_TRUE(photos[0].resource->originalFilename.endsWith(s(".jpg")));
    EXPECT_EQ(world.library().imageData(photos[0].localIdentifier)->data, jpegTaken("2024:01:01 10:00:00"));
}

TEST_F(PhotoContent, aDateWithItsZoneIsThatMoment) {
    EXPECT_EQ(takenAt(jpegTaken("2024:07:14 12:30:45", "+02:00")), utc(2024, 7, 14, 10, 30, 45));
    EXPECT_EQ(takenAt(jpegTaken("2024:01:01 00:30:00", "+13:00")), utc(2023, 12, 31, 11, 30));
}

TEST_F(PhotoContent, aDateWithoutAZoneIsByTheClockOfThisMachine) {
    world.travel(QTimeZone("Europe/Paris"));
    EXPECT_EQ(takenAt(jpegTaken("2024:07:14 12:30:45")), utc(2024, 7, 14, 10, 30, 45));
    EXPECT_EQ(takenAt(jpegTaken("2024:01:14 12:30:45")), utc(2024, 1, 14, 11, 30, 45));
}

TEST_F(PhotoContent, anHourThatTheClocksSkippedOrHadTwiceIsStillADate) {
    world.travel(QTimeZone("Europe/Paris"));
    EXPECT_EQ(takenAt(jpegTaken("2024:03:31 02:30:00")), utc(2024, 3, 31, 1, 30));
    const auto twice = takenAt(jpegTaken("2024:10:27 02:30:00"));
    EXPECT_TRUE(twice == utc(2024, 10, 27, 0, 30) || twice == utc(2024, 10, 27, 1, 30));
}

TEST_F(PhotoContent, whenTheMachineTravelsPhotosWithoutAZoneGoWithIt) {
    world.travel(QTimeZone("Europe/Paris"));
    world.photo(s("sans.jpg"), "2024:07:14 12:00:00");
    world.put(s("avec.jpg"), jpegTaken("2024:07:14 12:00:00", "+02:00"));
    EXPECT_EQ(world.library().asset(world.id(s("sans.jpg")))->creationDate, utc(2024, 7, 14, 10));
    const int reads = world.reader.reads();
    world.travel(QTimeZone("America/New_York"));
    EXPECT_EQ(world.library().asset(world.id(s("sans.jpg")))->creationDate, utc(2024, 7, 14, 16));
    EXPECT_EQ(world.library().asset(world.id(s("avec.jpg")))->creationDate, utc(2024, 7, 14, 10));
    EXPECT_EQ(world.names(), QStringList({s("sans.jpg"), s("avec.jpg")}));
    EXPECT_EQ(world.reader.reads(), reads);
}

TEST_F(PhotoContent, datesThatMakeNoSenseAreNone) {
    for (const char* date :
         {"0000:00:00 00:00:00", "0001:01:01 00:00:00", "1825:12:31 23:59:59", "2099:01:01 00:00:00",
          "9999:12:31 23:59:59", "2024:13:01 00:00:00", "2023:02:29 00:00:00", "2025:03:03 09:12:34"}) {
        EXPECT_EQ(takenAt(jpegTaken(date)), std::nullopt) << date;
        EXPECT_EQ(world.all().size(), 1U);
    }
    EXPECT_EQ(takenAt(jpegTaken("1826:01:01 00:00:00")), utc(1826, 1, 1, 0));
    EXPECT_EQ(takenAt(jpegTaken("2025:03:02 09:12:33")), utc(2025, 3, 2, 9, 12, 33)); // a camera of another zone
}

TEST_F(PhotoContent, aDateInTheFutureCountsWhenItHasCome) {
    world.photo(s("x.jpg"), "2025:12:24 20:00:00");
    world.photo(s("y.jpg"), "2026:12:24 20:00:00");
    const auto dated = [&] {
        return std::ranges::count_if(world.all(), [](const auto& each) { return each.creationDate.has_value(); });
    };
    EXPECT_EQ(dated(), 0);
    world.setNow(utc(2025, 12, 23, 19, 59, 59)); // a camera's clock may be of another zone
    EXPECT_EQ(dated(), 0);
    world.setNow(utc(2025, 12, 23, 20));
    EXPECT_EQ(world.all().at(0).creationDate, utc(2025, 12, 24, 20));
    EXPECT_EQ(dated(), 1);
    world.setNow(utc(2027, 1, 1, 0));
    EXPECT_EQ(dated(), 2);
    world.setNow(utc(2025, 3, 1, 9)); // a clock that was wrong for a while
    world.reopen();
    EXPECT_EQ(dated(), 0);
}

TEST_F(PhotoContent, fractionsOfASecondDecideTheOrder) {
    for (const auto& [name, fraction] :
         {std::pair("b.jpg", "200"), std::pair("c.jpg", "300"), std::pair("a.jpg", "100")})
        world.put(s(name), jpegWith(ExifMaker().takenAt("2024:07:14 12:30:45", {}, fraction).block()));
    EXPECT_EQ(world.names(), QStringList({s("c.jpg"), s("b.jpg"), s("a.jpg")}));
}

TEST_F(PhotoContent, anImageWhoseFileHasGoneIsNotThere) {
    world.photo(s("x.jpg"), "2024:01:01 10:00:00");
    const QString id = world.id(s("x.jpg"));
    world.remove(s("x.jpg"));
    EXPECT_FALSE(world.library().imageData(id));
    EXPECT_FALSE(world.library().asset(id));
}

TEST_F(PhotoContent, anImageThatIsTooLargeSaysSo) {
    world.photo(s("x.jpg"), "2024:01:01 10:00:00");
    ASSERT_EQ(truncate(world.path(s("x.jpg")).toUtf8().constData(), (off_t{512} << 20) + 1), 0); // a hole behind it
    try {
        world.library().imageData(world.id(s("x.jpg")));
        ADD_FAILURE() << "half a gigabyte was read";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.errorDescription(), s("Le fichier « x.jpg » est trop gros pour être lu."));
    }
}
