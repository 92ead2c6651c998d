#include "fakes/StatusItemFake.h"
#include "linux/desktop/StatusItemDesktop.h"
#include "linux_desktop/DesktopWorld.h"
#include "linux_desktop/StandInTray.h"
#include "linux_desktop/StandInWatcher.h"

namespace vennic::test {
namespace {

struct DoubleItem {
    StatusItemFake item;
    void click() {
        item.where = QRect(700, 4, 22, 22);
        item.activate();
    }
    static void settle() {}
};

/// In a bar on the session bus.
struct BusItem {
    DesktopWorld world;
    StandInWatcher watcher;
    StatusItemDesktop item;
    void settle() {
        ASSERT_TRUE(waitUntil([this] { return !watcher.enlisted.isEmpty(); }));
        watcher.icon(); // whatever was asked before has been answered
    }
    void click() {
        settle();
        watcher.click(QStringLiteral("Activate"), 700, 4);
    }
};

/// In a tray of the X server.
struct TrayItem {
    DesktopWorld world;
    StandInTray tray;
    StatusItemDesktop item;
    void settle() {
        ASSERT_TRUE(waitUntil([this] { return item.place() == StandInTray::place; }));
    }
    void click() {
        settle();
        const QPoint middle = StandInTray::place.center();
        xdotool({QStringLiteral("mousemove"), QString::number(middle.x()), QString::number(middle.y()),
                 QStringLiteral("click"), QStringLiteral("1")});
    }
};

} // namespace

template <class T>
class StatusItemContract : public testing::Test {
protected:
    T with;
};
using AllItems = testing::Types<DoubleItem, BusItem, TrayItem>;
TYPED_TEST_SUITE(StatusItemContract, AllItems);

TYPED_TEST(StatusItemContract, aClickIsToldWithItsPlaceWhichIsKnownFromThenOn) {
    std::vector<std::optional<QRect>> clicks;
    this->with.item.onActivated([&](std::optional<QRect> place) { clicks.push_back(place); });
    this->with.click();
    ASSERT_TRUE(waitUntil([&] { return clicks.size() == 1; }));
    ASSERT_TRUE(clicks[0]);
    EXPECT_EQ(this->with.item.place(), clicks[0]);
    this->with.click();
    EXPECT_TRUE(waitUntil([&] { return clicks.size() == 2; }));
}

TYPED_TEST(StatusItemContract, aClickWithNobodyToHearItDoesNothing) {
    this->with.click();
    bool isHeard = false;
    this->with.item.onActivated([&](std::optional<QRect>) { isHeard = true; });
    this->with.item.onActivated({});
    this->with.click();
    this->with.settle();
    EXPECT_FALSE(isHeard);
}

TYPED_TEST(StatusItemContract, everyPictureIsTaken) {
    this->with.settle();
    StatusImage broken;
    broken.svg = "<svg";
    for (const bool highlighted : {false, true}) {
        this->with.item.setHighlighted(highlighted);
        this->with.item.setImage(DesktopWorld::square());
        this->with.item.setImage(broken);
        this->with.item.setImage(std::nullopt);
    }
    this->with.item.setAccessibilityLabel(QStringLiteral("Vennic"));
    this->with.settle();
}

} // namespace vennic::test
