#include "linux/desktop/StatusItemDesktop.h"

#include "linux_desktop/DesktopWorld.h"
#include "linux_desktop/StandInTray.h"
#include "linux_desktop/StandInWatcher.h"

namespace vennic::test {
namespace {

class StatusItemDesktopTest : public testing::Test {
protected:
    DesktopWorld world;

    static bool comesTo(StandInWatcher& watcher) {
        return waitUntil([&] { return !watcher.enlisted.isEmpty(); });
    }
    static bool comesTo(StandInTray& tray) {
        return waitUntil([&] { return tray.docked() != XCB_WINDOW_NONE; });
    }
    static bool isAt(const StatusItemDesktop& item, std::optional<QRect> place) {
        return waitUntil([&] { return item.place() == place; });
    }
};

QColor middleOf(const QImage& image) { return image.pixelColor(image.width() / 2, image.height() / 2); }

} // namespace

TEST_F(StatusItemDesktopTest, aBarFindsAllThatItShows) {
    StandInWatcher watcher;
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    item.setAccessibilityLabel(QStringLiteral("Vennic"));
    ASSERT_TRUE(comesTo(watcher));
    const QVariantMap icon = watcher.icon();
    EXPECT_EQ(icon.value(QStringLiteral("Category")), QStringLiteral("ApplicationStatus"));
    EXPECT_EQ(icon.value(QStringLiteral("Id")), QStringLiteral("com.vennic.desktop"));
    EXPECT_EQ(icon.value(QStringLiteral("Status")), QStringLiteral("Active"));
    EXPECT_EQ(icon.value(QStringLiteral("Title")), QStringLiteral("Vennic"));
    EXPECT_EQ(icon.value(QStringLiteral("IconAccessibleDesc")), QStringLiteral("Vennic"));
    EXPECT_EQ(icon.value(QStringLiteral("ItemIsMenu")), false);
    const auto tip = qdbus_cast<StatusNotifierToolTip>(icon.value(QStringLiteral("ToolTip")));
    EXPECT_EQ(tip.title, QStringLiteral("Vennic"));
    EXPECT_EQ(icon.value(QStringLiteral("IconName")), QString());
}

TEST_F(StatusItemDesktopTest, thePixelsComeInSeveralSizesInNetworkByteOrder) {
    StandInWatcher watcher;
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    ASSERT_TRUE(comesTo(watcher));
    const StatusNotifierPixmaps pixmaps = watcher.pixmaps();
    std::vector<int> sides;
    for (const StatusNotifierPixmap& pixmap : pixmaps) {
        EXPECT_EQ(pixmap.width, pixmap.height);
        ASSERT_EQ(pixmap.bytes.size(), qsizetype{4} * pixmap.width * pixmap.height);
        const qsizetype middle = (qsizetype{4} * pixmap.width * (pixmap.height / 2)) + (2 * pixmap.width);
        EXPECT_EQ(pixmap.bytes.mid(middle - (middle % 4), 4).toHex(), "ff8e8e8e") << pixmap.width;
        sides.push_back(pixmap.width);
    }
    EXPECT_EQ(sides, (std::vector<int>{16, 18, 22, 24, 32, 36, 48, 64}));
}

TEST_F(StatusItemDesktopTest, aNameInTheIconThemeIsToldBesideThePixelsUnlessHighlighted) {
    StandInWatcher watcher;
    StatusItemDesktop item;
    StatusImage image = DesktopWorld::square();
    image.themeName = QStringLiteral("com.vennic.desktop-symbolic");
    image.themeFolder = QStringLiteral("/opt/icons");
    item.setImage(image);
    ASSERT_TRUE(comesTo(watcher));
    EXPECT_EQ(watcher.icon().value(QStringLiteral("IconName")), image.themeName);
    EXPECT_EQ(watcher.icon().value(QStringLiteral("IconThemePath")), image.themeFolder);
    EXPECT_FALSE(watcher.pixmaps().isEmpty());
    item.setHighlighted(true);
    EXPECT_EQ(watcher.icon().value(QStringLiteral("IconName")), QString());
    item.setHighlighted(false);
    EXPECT_EQ(watcher.icon().value(QStringLiteral("IconName")), image.themeName);
}

TEST_F(StatusItemDesktopTest, anEmptyPlaceHasNoPixels) {
    StandInWatcher watcher;
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    item.setImage(std::nullopt);
    ASSERT_TRUE(comesTo(watcher));
    EXPECT_TRUE(watcher.pixmaps().isEmpty());
}

TEST_F(StatusItemDesktopTest, aWatcherThatComesLateOrAgainGetsTheIconToo) {
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    EXPECT_FALSE(item.place());
    for (int i = 0; i < 3; ++i) {
        StandInWatcher watcher;
        ASSERT_TRUE(comesTo(watcher));
        EXPECT_FALSE(watcher.pixmaps().isEmpty());
        watcher.click(QStringLiteral("Activate"), 10, 20);
        EXPECT_TRUE(isAt(item, QRect(10, 20, 1, 1)));
    }
    EXPECT_TRUE(isAt(item, std::nullopt)); // where it was says nothing of where it will be
}

TEST_F(StatusItemDesktopTest, aBusThatGoesAndComesAgainGetsTheIconAgain) {
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    {
        StandInWatcher watcher;
        ASSERT_TRUE(comesTo(watcher));
        item.setHighlighted(true);
    }
    world.bus.stop();
    world.bus.start();
    StandInWatcher watcher;
    ASSERT_TRUE(comesTo(watcher));
    EXPECT_EQ(watcher.icon().value(QStringLiteral("Id")), QStringLiteral("com.vennic.desktop"));
    EXPECT_FALSE(watcher.pixmaps().isEmpty());
    int clicks = 0;
    item.onActivated([&](std::optional<QRect>) { ++clicks; });
    watcher.click(QStringLiteral("Activate"), 5, 6);
    EXPECT_TRUE(waitUntil([&] { return clicks == 1; }));
}

TEST_F(StatusItemDesktopTest, whileTheBusIsGoneTheTrayOfTheXServerIsTaken) {
    StandInTray tray;
    StandInWatcher watcher;
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    ASSERT_TRUE(comesTo(watcher));
    EXPECT_EQ(tray.docked(), XCB_WINDOW_NONE);
    world.bus.stop();
    EXPECT_TRUE(comesTo(tray));
}

TEST_F(StatusItemDesktopTest, aRequestForAMenuCountsAsAClickAndAMiddleClickDoesNot) {
    StandInWatcher watcher;
    StatusItemDesktop item;
    int clicks = 0;
    item.onActivated([&](std::optional<QRect>) { ++clicks; });
    ASSERT_TRUE(comesTo(watcher));
    watcher.click(QStringLiteral("SecondaryActivate"), 10, 20);
    watcher.click(QStringLiteral("ContextMenu"), 10, 20);
    EXPECT_TRUE(waitUntil([&] { return clicks == 1; }));
}

TEST_F(StatusItemDesktopTest, aBarThatDoesNotKnowWhereItIsGivesNoPlace) {
    StandInWatcher watcher;
    StatusItemDesktop item;
    std::vector<std::optional<QRect>> clicks;
    item.onActivated([&](std::optional<QRect> place) { clicks.push_back(place); });
    ASSERT_TRUE(comesTo(watcher));
    watcher.click(QStringLiteral("Activate"), 0, 0);
    ASSERT_TRUE(waitUntil([&] { return clicks.size() == 1; }));
    EXPECT_FALSE(clicks[0]);
}

TEST_F(StatusItemDesktopTest, theTrayOfTheXServerIsTakenWhereTheBusHasNoBar) {
    StandInTray tray;
    StandInWatcher watcher(false);
    StatusItemDesktop item;
    item.setAccessibilityLabel(QStringLiteral("Vennic"));
    ASSERT_TRUE(comesTo(tray));
    EXPECT_TRUE(isAt(item, StandInTray::place));
    EXPECT_EQ(tray.nameOfDocked(), "Vennic");
    watcher.setHost(true);
    EXPECT_TRUE(isAt(item, std::nullopt));
    watcher.setHost(false);
    EXPECT_TRUE(isAt(item, StandInTray::place));
}

TEST_F(StatusItemDesktopTest, theTrayIsLeftAloneWhereTheBusHasABar) {
    StandInTray tray;
    StandInWatcher watcher;
    const StatusItemDesktop item;
    ASSERT_TRUE(comesTo(watcher));
    watcher.icon();
    EXPECT_EQ(tray.docked(), XCB_WINDOW_NONE);
}

TEST_F(StatusItemDesktopTest, aTrayThatComesLateOrAgainGetsTheIconToo) {
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    for (int i = 0; i < 3; ++i) {
        StandInTray tray;
        ASSERT_TRUE(comesTo(tray));
        EXPECT_TRUE(isAt(item, StandInTray::place));
    }
    EXPECT_TRUE(isAt(item, std::nullopt));
}

TEST_F(StatusItemDesktopTest, inATrayTheIconIsDrawnInTheInkThatItsGroundAsksFor) {
    const std::pair<QColor, QColor> grounds[] = {{QColor(0x20, 0x20, 0x20), QColor(0xf2, 0xf2, 0xf2)},
                                                 {QColor(0xee, 0xee, 0xee), QColor(0x2e, 0x2e, 0x2e)}};
    for (const auto& [ground, ink] : grounds) {
        StandInTray tray(ground);
        StatusItemDesktop item;
        item.setImage(DesktopWorld::square());
        EXPECT_TRUE(waitUntil([&] { return middleOf(tray.shown()) == ink; })) << ground.name().toStdString();
        EXPECT_EQ(tray.shown().pixelColor(0, 0), ground);
        item.setImage(std::nullopt);
        EXPECT_TRUE(waitUntil([&] { return middleOf(tray.shown()) == ground; }));
    }
}

TEST_F(StatusItemDesktopTest, theEndOfTheXServerIsSurvived) {
    StandInWatcher watcher(false);
    StatusItemDesktop item;
    {
        StandInTray tray;
        ASSERT_TRUE(comesTo(tray));
    }
    world.display.kill();
    item.setImage(DesktopWorld::square());
    item.setHighlighted(true);
    watcher.setHost(true);
    ASSERT_TRUE(comesTo(watcher));
    EXPECT_FALSE(watcher.pixmaps().isEmpty());
    EXPECT_TRUE(isAt(item, std::nullopt));
}

TEST(StatusItemWithoutADesktop, isNowhereAndHarmsNobody) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    qunsetenv("DISPLAY");
    StatusItemDesktop item;
    item.setImage(DesktopWorld::square());
    item.setAccessibilityLabel(QStringLiteral("Vennic"));
    item.setHighlighted(true);
    EXPECT_FALSE(item.place());
}

} // namespace vennic::test
