#include "worker/PhotoReader.h"

#include "support/PictureMaker.h"
#include "worker/WorkerFolder.h"

#include <gtest/gtest.h>
#include <random>

using namespace vennic;
using namespace vennic::test;

namespace {

PhotoFacts factsOf(const QByteArray& bytes) {
    static const bool warm = [] {
        worker::warmUpPhotos();
        return true;
    }();
    EXPECT_TRUE(warm);
    return worker::photoFacts({bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

/// "2024-07-14 12:30:45.678 +120" or "undated".
std::string dateIn(const PhotoFacts& facts) {
    if (facts.dated == 0)
        return "undated";
    const QString date = QStringLiteral("%1-%2-%3 %4:%5:%6.%7")
                             .arg(facts.year, 4, 10, QChar(u'0'))
                             .arg(facts.month, 2, 10, QChar(u'0'))
                             .arg(facts.day, 2, 10, QChar(u'0'))
                             .arg(facts.hour, 2, 10, QChar(u'0'))
                             .arg(facts.minute, 2, 10, QChar(u'0'))
                             .arg(facts.second, 2, 10, QChar(u'0'))
                             .arg(facts.millisecond, 3, 10, QChar(u'0'));
    const QString zone = facts.zoned == 0 ? QString() : QStringLiteral(" %1").arg(facts.offsetMinutes);
    return (date + zone).toStdString();
}

std::string dateOf(const ExifMaker& exif) { return dateIn(factsOf(jpegWith(exif.block()))); }
std::string taken(const char* date, const char* offset = "", const char* fraction = "") {
    return dateOf(ExifMaker().takenAt(date, offset, fraction));
}

using Coordinate = ExifMaker::Coordinate;
constexpr Coordinate noCoordinate{{{0, 1}, {0, 1}, {0, 1}}};

std::string placeOf(const Coordinate& latitude, const char* north, const Coordinate& longitude, const char* east) {
    const PhotoFacts facts = factsOf(jpegWith(ExifMaker().at(latitude, north, longitude, east).block()));
    return facts.placed == 0
               ? "nowhere"
               : QStringLiteral("%1 %2").arg(facts.latitude, 0, 'f', 4).arg(facts.longitude, 0, 'f', 4).toStdString();
}
std::string placeOf(const Coordinate& latitude, const char* north) {
    return placeOf(latitude, north, {{{2, 1}, {0, 1}, {0, 1}}}, "E");
}

QByteArray dated(const char* name) {
    return fileBytes(dataFolder() + QStringLiteral("/photos/") + QLatin1String(name));
}

} // namespace

TEST(PhotoReader, theMomentIsThatOfTheOriginalWithItsZoneAndFraction) {
    EXPECT_EQ(taken("2024:07:14 12:30:45"), "2024-07-14 12:30:45.000");
    EXPECT_EQ(taken("2024:07:14 12:30:45", "+02:00"), "2024-07-14 12:30:45.000 120");
    EXPECT_EQ(taken("2024:07:14 12:30:45", "-05:30", "678"), "2024-07-14 12:30:45.678 -330");
    EXPECT_EQ(taken("2024:02:29 23:59:59", "Z"), "2024-02-29 23:59:59.000 0");
}

TEST(PhotoReader, datesThatMakeNoSenseAreNone) {
    for (const char* date : {"0000:00:00 00:00:00",
                             "    :  :     :  :  ",
                             "0000:07:14 12:30:45",
                             "2024:13:14 12:30:45",
                             "2024:00:14 12:30:45",
                             "2024:07:00 12:30:45",
                             "2024:07:32 12:30:45",
                             "2023:02:29 12:30:45",
                             "2024:07:14 24:00:00",
                             "2024:07:14 12:60:45",
                             "2024:07:14 12:30:60",
                             "2024:07:14",
                             "12:30:45",
                             "",
                             "hier",
                             "2024:07:14 12:30:45 extra",
                             "20x4:07:14 12:30:45",
                             "-024:07:14 12:30:45",
                             "2024.07.14 12.30.45",
                             "2024:07:14 12:30:4",
                             "99999:07:14 12:30:45"})
        EXPECT_EQ(taken(date), "undated") << date;
    EXPECT_EQ(taken("2024:07:14 12:30:45   "), "2024-07-14 12:30:45.000"); // padding is no nonsense
    EXPECT_EQ(taken("2024-07-14T12:30:45"), "2024-07-14 12:30:45.000");
    EXPECT_EQ(taken("9999:12:31 23:59:59"), "9999-12-31 23:59:59.000"); // whether it may be is the library's question
}

TEST(PhotoReader, offsetsThatMakeNoSenseLeaveTheDateWithoutAZone) {
    for (const char* offset :
         {"+15:00", "-14:01", "+02:60", "0200", "+2:00", "+0200", "   :  ", "UTC", "+ab:cd", "++2:00"})
        EXPECT_EQ(taken("2024:07:14 12:30:45", offset), "2024-07-14 12:30:45.000") << offset;
    EXPECT_EQ(taken("2024:07:14 12:30:45", "+14:00"), "2024-07-14 12:30:45.000 840");
    EXPECT_EQ(taken("2024:07:14 12:30:45", "-14:00"), "2024-07-14 12:30:45.000 -840");
}

TEST(PhotoReader, fractionsAreCutToMilliseconds) {
    for (const auto& [fraction, expected] : std::initializer_list<std::pair<const char*, const char*>>{
             {"5", "500"}, {"05", "050"}, {"123456", "123"}, {"9999", "999"}, {"12 ", "120"}, {"x1", "000"}})
        EXPECT_EQ(taken("2024:07:14 12:30:45", "", fraction), std::string("2024-07-14 12:30:45.") + expected);
}

TEST(PhotoReader, withoutASensibleOriginalTheDigitizedDateCounts) {
    EXPECT_EQ(dateOf(ExifMaker().digitizedAt("2020:01:02 03:04:05", "+01:00")), "2020-01-02 03:04:05.000 60");
    EXPECT_EQ(dateOf(ExifMaker().takenAt("0000:00:00 00:00:00", "+02:00").digitizedAt("2020:01:02 03:04:05")),
              "2020-01-02 03:04:05.000");
    EXPECT_EQ(dateOf(ExifMaker().takenAt("2019:01:01 00:00:00").digitizedAt("2020:01:02 03:04:05")),
              "2019-01-01 00:00:00.000");
}

TEST(PhotoReader, theByteOrderOfTheExifDoesNotMatter) {
    ExifMaker exif;
    exif.isBigEndian = true;
    exif.takenAt("2024:07:14 12:30:45", "+02:00")
        .at({{{48, 1}, {51, 1}, {30, 1}}}, "N", {{{2, 1}, {17, 1}, {40, 1}}}, "W");
    const PhotoFacts facts = factsOf(jpegWith(exif.block()));
    EXPECT_EQ(dateIn(facts), "2024-07-14 12:30:45.000 120");
    EXPECT_NEAR(facts.latitude, 48.858333, 1e-6);
    EXPECT_NEAR(facts.longitude, -2.294444, 1e-6);
}

TEST(PhotoReader, degreesMinutesAndSecondsMakeAPlace) {
    EXPECT_EQ(placeOf({{{48, 1}, {51, 1}, {30, 1}}}, "N", {{{2, 1}, {17, 1}, {40, 1}}}, "E"), "48.8583 2.2944");
    EXPECT_EQ(placeOf({{{33, 1}, {5130, 100}, {0, 1}}}, "S", {{{151, 1}, {0, 1}, {0, 1}}}, "W"), "-33.8550 -151.0000");
    EXPECT_EQ(placeOf({{{90, 1}, {0, 1}, {0, 1}}}, "N", {{{180, 1}, {0, 1}, {0, 1}}}, "W"), "90.0000 -180.0000");
    EXPECT_EQ(placeOf({{{4294967295, 4294967295}, {0, 1}, {0, 1}}}, "N"), "1.0000 2.0000");
}

TEST(PhotoReader, placesThatMakeNoSenseAreNone) {
    EXPECT_EQ(placeOf({{{91, 1}, {0, 1}, {0, 1}}}, "N"), "nowhere");
    EXPECT_EQ(placeOf({{{90, 1}, {0, 1}, {1, 1}}}, "N"), "nowhere");
    EXPECT_EQ(placeOf({{{48, 0}, {0, 1}, {0, 1}}}, "N"), "nowhere"); // some write 0/0 for what they don't know
    EXPECT_EQ(placeOf({{{0, 0}, {0, 0}, {0, 0}}}, "N"), "nowhere");
    EXPECT_EQ(placeOf({{{48, 1}, {4294967295, 1}, {0, 1}}}, "N"), "nowhere");
    EXPECT_EQ(placeOf({{{48, 1}, {0, 1}, {0, 1}}}, ""), "nowhere");
    EXPECT_EQ(placeOf({{{48, 1}, {0, 1}, {0, 1}}}, "X"), "nowhere");
    EXPECT_EQ(placeOf({{{48, 1}, {0, 1}, {0, 1}}}, "E"), "nowhere");
    EXPECT_EQ(placeOf({{{48, 1}, {0, 1}, {0, 1}}}, "North"), "nowhere");
    EXPECT_EQ(placeOf({{{48, 1}, {0, 1}, {0, 1}}}, "N", {{{181, 1}, {0, 1}, {0, 1}}}, "E"), "nowhere");
    EXPECT_EQ(placeOf(noCoordinate, "N", noCoordinate, "E"), "nowhere"); // a receiver without a fix
    EXPECT_EQ(placeOf(noCoordinate, "N"), "0.0000 2.0000");              // the equator is a place
}

TEST(PhotoReader, entriesOfAnotherTypeAreNoDatesAndNoPlaces) {
    ExifMaker exif;
    exif.photo = {{0x9003, 4, 1, QByteArray("\x01\x02\x03\x04")},
                  {0x9004, 7, 20, QByteArray("2024:07:14 12:30:45\0", 20)}};
    exif.place = {ExifMaker::text(1, "N"), {2, 2, 4, "48N"}, ExifMaker::text(3, "E"), {4, 5, 1, QByteArray(8, '\x01')}};
    const PhotoFacts facts = factsOf(jpegWith(exif.block()));
    EXPECT_EQ(facts.format, PictureFormat::jpeg);
    EXPECT_EQ(facts.dated, 0);
    EXPECT_EQ(facts.placed, 0);
}

TEST(PhotoReader, everyFormatIsTakenForWhatItIs) {
    const ExifMaker exif = ExifMaker().takenAt("2024:07:14 12:30:45").at(48, 2);
    const std::string date = "2024-07-14 12:30:45.000";
    for (const auto& [bytes, format, expected] :
         std::initializer_list<std::tuple<QByteArray, PictureFormat, std::string>>{
             {jpegWith(), PictureFormat::jpeg, "undated"},
             {jpegWith(exif.block()), PictureFormat::jpeg, date},
             {pngWith(), PictureFormat::png, "undated"},
             {pngWith(exif.block()), PictureFormat::png, date},
             {webpWith(), PictureFormat::webp, "undated"},
             {webpWith(exif.block()), PictureFormat::webp, date},
             {tiffWith(exif), PictureFormat::tiff, date},
             {gifPicture(), PictureFormat::gif, "undated"},
             {bmpPicture(), PictureFormat::bmp, "undated"},
             {dated("dated.heic"), PictureFormat::heic, "2024-07-14 12:30:45.678 120"},
             {dated("dated.avif"), PictureFormat::avif, "2024-07-14 12:30:45.678 120"}}) {
        const PhotoFacts facts = factsOf(bytes);
        EXPECT_EQ(facts.format, format) << bytes.left(8).toHex().toStdString();
        EXPECT_EQ(dateIn(facts), expected) << bytes.left(8).toHex().toStdString();
        EXPECT_EQ(facts.placed, expected == "undated" ? 0 : 1);
    }
}

TEST(PhotoReader, aPictureThatIsCutShortIsNone) {
    const ExifMaker exif = ExifMaker().takenAt("2024:07:14 12:30:45");
    for (const QByteArray& whole :
         {jpegWith(exif.block()), pngWith(exif.block()), webpWith(exif.block()), tiffWith(exif), gifPicture(),
          bmpPicture(), dated("dated.heic"), dated("dated.avif")}) {
        ASSERT_NE(factsOf(whole).format, PictureFormat::none);
        for (qsizetype length = 0; length < whole.size(); ++length)
            EXPECT_EQ(factsOf(whole.left(length)), PhotoFacts{})
                << whole.left(8).toHex().toStdString() << " after " << length << " of " << whole.size();
    }
}

TEST(PhotoReader, whatFollowsAPictureDoesNoHarm) {
    const QByteArray film(1000, 'f'); // what telephones append
    EXPECT_EQ(factsOf(jpegTaken("2024:07:14 12:30:45") + film).dated, 1);
    EXPECT_EQ(factsOf(pngWith() + film).format, PictureFormat::png);
    EXPECT_EQ(factsOf(gifPicture() + film).format, PictureFormat::gif);
}

TEST(PhotoReader, whatOnlySaysThatItIsAPictureIsNone) {
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("bonjour"), QByteArray("\xff\xd8\xff"), QByteArray("\xff\xd8\xff\xd9"),
          QByteArray("\x89PNG\r\n\x1a\n"), QByteArray("GIF89a"), QByteArray("RIFF\4\0\0\0WEBP", 12), QByteArray("BM"),
          QByteArray("II*\0\x08\0\0\0\0\0\0\0\0\0", 14), QByteArray("%PDF-1.4"), QByteArray("<svg/>"),
          QByteArray("MZ\x90"),
          QByteArray("\0\0\0\x10"
                     "ftypheic\0\0\0\0",
                     16),
          QByteArray("\0\0\0\x08"
                     "ftyp",
                     8)})
        EXPECT_EQ(factsOf(bytes), PhotoFacts{}) << bytes.toHex().toStdString();
}

TEST(PhotoReader, brokenExifLeavesThePictureUndated) {
    const QByteArray block = ExifMaker().takenAt("2024:07:14 12:30:45").at(48, 2).block();
    for (const QByteArray& exif :
         {QByteArray("nonsense"), QByteArray("II*\0\xff\xff\xff\xff", 8), QByteArray(60'000, '\xff'), block.left(20),
          QByteArray("II*\0\x08\0\0\0\xff\xff", 10)}) {
        const PhotoFacts facts = factsOf(jpegWith(exif));
        EXPECT_EQ(facts.format, PictureFormat::jpeg);
        EXPECT_EQ(facts.dated, 0);
    }
}

TEST(PhotoReader, directoriesInACircleAreLeft) {
    ExifMaker exif;
    exif.image = {{0x8769, 4, 1, QByteArray("\x08\0\0\0", 4)}}; // the EXIF directory is the directory itself
    EXPECT_EQ(factsOf(jpegWith(exif.block())).format, PictureFormat::jpeg);
    ExifMaker sizes;
    sizes.image = {{0x014a, 4, 1, QByteArray("\x08\0\0\0", 4)}};
    EXPECT_EQ(factsOf(sizes.block()).format, PictureFormat::none);
}

TEST(PhotoReader, lengthsThatLieAreNotBelieved) {
    for (const std::uint32_t count : {0xffffffffU, 0x7fffffffU, 0x10000000U}) {
        ExifMaker exif = ExifMaker().takenAt("2024:07:14 12:30:45");
        exif.photo[0].count = count;
        exif.photo.append({0x927c, 7, count, QByteArray("maker")}); // a maker's note
        EXPECT_EQ(factsOf(jpegWith(exif.block())).format, PictureFormat::jpeg);
    }
}

TEST(PhotoReader, everyDamagedBytePassesWithoutHarm) {
    const ExifMaker exif = ExifMaker().takenAt("2024:07:14 12:30:45", "+02:00", "5").at(48, 2);
    std::mt19937 random(7); // the same each time
    for (const QByteArray& whole :
         {jpegWith(exif.block()), pngWith(exif.block()), webpWith(exif.block()), tiffWith(exif), dated("dated.heic")}) {
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray damaged = whole;
            damaged[at] = static_cast<char>(random());
            const PhotoFacts facts = factsOf(damaged);
            EXPECT_LE(facts.format, PictureFormat::raw);
            EXPECT_TRUE(facts.dated == 0 || (facts.month >= 1 && facts.month <= 12));
            EXPECT_TRUE(facts.placed == 0 || (std::abs(facts.latitude) <= 90 && std::abs(facts.longitude) <= 180));
        }
    }
}
