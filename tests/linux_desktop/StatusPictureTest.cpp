#include "linux/desktop/StatusPicture.h"

#include "linux/desktop/StatusImagesInstalled.h"
#include "linux_desktop/DesktopWorld.h"

#include <QDir>
#include <QFile>

namespace vennic::test {
namespace {

void write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

TEST(StatusPicture, aTemplateIsDrawnInTheInkAndAnythingElseInItsOwnColours) {
    StatusImage image = DesktopWorld::square();
    image.svg.replace("<path", "<path fill=\"#ff0000\"");
    EXPECT_EQ(statusPicture(image, 20, Qt::green, false).pixelColor(10, 10), QColor(Qt::green));
    image.isTemplate = false;
    const QImage picture = statusPicture(image, 20, Qt::green, false);
    EXPECT_EQ(picture.pixelColor(10, 10), QColor(Qt::red));
    EXPECT_EQ(picture.size(), QSize(20, 20));
}

TEST(StatusPicture, theHighlightIsAPaleFieldBehindThePicture) {
    StatusImage image = DesktopWorld::square();
    image.svg = R"(<svg xmlns="http://www.w3.org/2000/svg" width="18" height="18"><path d="M7 7h4v4H7z"/></svg>)";
    const QImage plain = statusPicture(image, 18, Qt::white, false);
    EXPECT_EQ(plain.pixelColor(3, 9).alpha(), 0);
    const QImage highlighted = statusPicture(image, 18, Qt::white, true);
    EXPECT_EQ(highlighted.pixelColor(3, 9).alpha(), 80);
    EXPECT_EQ(highlighted.pixelColor(9, 9), QColor(Qt::white));
}

TEST(StatusPicture, whatIsNoPictureGivesNone) {
    StatusImage image = DesktopWorld::square();
    for (const QByteArray& svg : {QByteArray(), QByteArray("<svg"), QByteArray(1000, '\0'), QByteArray("GIF89a")}) {
        image.svg = svg;
        EXPECT_TRUE(statusPicture(image, 18, Qt::white, true).isNull());
    }
}

TEST(StatusPicture, anEnormousSideIsBounded) {
    EXPECT_EQ(statusPicture(DesktopWorld::square(), 1 << 30, Qt::white, false).width(), 512);
    EXPECT_EQ(statusPicture(DesktopWorld::square(), -1, Qt::white, false).width(), 1);
}

TEST(StatusImagesInstalled, theProgramsOwnPictureIsAFileOfItsResources) {
    const QTemporaryDir folder;
    const StatusImagesInstalled images(folder.filePath(QStringLiteral("vennic")));
    EXPECT_FALSE(images.named(QStringLiteral("VennicStatusIcon")));
    write(folder.filePath(QStringLiteral("vennic/VennicStatusIcon.svg")), "<svg/>");
    const auto image = images.named(QStringLiteral("VennicStatusIcon"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->svg, "<svg/>");
    EXPECT_EQ(image->themeName, QString()); // it isn't in the theme
    write(folder.filePath(QStringLiteral("icons/hicolor/symbolic/apps/com.vennic.desktop-symbolic.svg")), "<svg/>");
    EXPECT_EQ(images.named(QStringLiteral("VennicStatusIcon"))->themeName,
              QStringLiteral("com.vennic.desktop-symbolic"));
}

TEST(StatusImagesInstalled, aHugeFileIsNoPicture) {
    const QTemporaryDir folder;
    write(folder.filePath(QStringLiteral("VennicStatusIcon.svg")), QByteArray(100'000, ' '));
    EXPECT_FALSE(StatusImagesInstalled(folder.path()).named(QStringLiteral("VennicStatusIcon")));
}

TEST(StatusImagesInstalled, theWaveformNeedsNoFile) {
    const StatusImagesInstalled images(QStringLiteral("/nowhere"));
    auto image = images.symbol(QStringLiteral("waveform"), QStringLiteral("Vennic"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->accessibilityDescription, QStringLiteral("Vennic"));
    image->isTemplate = true;
    const QImage picture = statusPicture(*image, 18, Qt::white, false);
    EXPECT_EQ(picture.pixelColor(9, 9), QColor(Qt::white));
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    EXPECT_FALSE(images.symbol(QStringLiteral("gear"), {}));
}

TEST(StatusImagesInstalled, thePictureThatIsShippedCanBeDrawn) {
    const auto image = StatusImagesInstalled(QStringLiteral(VENNIC_ICONS)).named(QStringLiteral("VennicStatusIcon"));
    ASSERT_TRUE(image);
    const QImage picture = statusPicture(*image, 18, Qt::white, false);
    ASSERT_FALSE(picture.isNull());
    int drawn = 0;
    for (int y = 0; y < 18; ++y) {
        for (int x = 0; x < 18; ++x)
            drawn += picture.pixelColor(x, y).alpha() > 128 ? 1 : 0;
    }
    EXPECT_GT(drawn, 40);
    EXPECT_LT(drawn, 200);
}

} // namespace vennic::test
