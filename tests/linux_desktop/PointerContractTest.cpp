#include "fakes/PointerFake.h"
#include "linux/desktop/PointerX11.h"
#include "support/Await.h"
#include "support/PrivateDisplay.h"

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

struct DoublePointer {
    PointerFake pointer;
    void moveTo(QPoint place) { pointer.where = place; }
    void press(int) { pointer.press(); }
};

struct XPointer {
    PrivateDisplay display;
    PointerX11 pointer;
    static void moveTo(QPoint place) {
        xdotool({QStringLiteral("mousemove"), QStringLiteral("--sync"), QString::number(place.x()),
                 QString::number(place.y())});
    }
    static void press(int button) { xdotool({QStringLiteral("click"), QString::number(button)}); }
};

} // namespace

template <class T>
class PointerContract : public testing::Test {
protected:
    T with;
    std::vector<QPoint> presses;
    bool watch() {
        return with.pointer.watchPresses([this](QPoint place) { presses.push_back(place); });
    }
};
using AllPointers = testing::Types<DoublePointer, XPointer>;
TYPED_TEST_SUITE(PointerContract, AllPointers);

TYPED_TEST(PointerContract, itsPositionIsTold) {
    this->with.moveTo({321, 123});
    EXPECT_EQ(this->with.pointer.position(), QPoint(321, 123));
}

TYPED_TEST(PointerContract, eachPressIsToldWithItsPlaceWhileSomebodyWatches) {
    this->with.moveTo({50, 60});
    ASSERT_TRUE(this->watch());
    this->with.press(1);
    ASSERT_TRUE(waitUntil([this] { return this->presses.size() == 1; }));
    this->with.moveTo({70, 80});
    this->with.press(3);
    ASSERT_TRUE(waitUntil([this] { return this->presses.size() == 2; }));
    EXPECT_EQ(this->presses, (std::vector{QPoint(50, 60), QPoint(70, 80)}));
    EXPECT_EQ(this->with.pointer.position(), QPoint(70, 80)); // also while watching
}

TYPED_TEST(PointerContract, whoEndsTheWatchIsToldNothingMoreAndMayWatchAgain) {
    this->with.moveTo({50, 60});
    ASSERT_TRUE(this->watch());
    this->with.pointer.stopWatching();
    this->with.press(1);
    this->with.moveTo({70, 80});
    ASSERT_TRUE(this->watch());
    this->with.press(1);
    ASSERT_TRUE(waitUntil([this] { return !this->presses.empty(); }));
    EXPECT_EQ(this->presses, std::vector{QPoint(70, 80)});
}

TYPED_TEST(PointerContract, aPressMayEndTheWatch) {
    this->with.moveTo({50, 60});
    ASSERT_TRUE(this->with.pointer.watchPresses([this](QPoint place) {
        this->presses.push_back(place);
        this->with.pointer.stopWatching();
    }));
    this->with.press(1);
    EXPECT_TRUE(waitUntil([this] { return this->presses.size() == 1; }));
}

TEST(PointerX11, turnsOfTheWheelAreNoPresses) {
    const PrivateDisplay display;
    PointerX11 pointer;
    int presses = 0;
    ASSERT_TRUE(pointer.watchPresses([&](QPoint) { ++presses; }));
    for (const int button : {4, 5, 6, 7, 1})
        XPointer::press(button);
    ASSERT_TRUE(waitUntil([&] { return presses > 0; }));
    EXPECT_EQ(presses, 1);
}

TEST(PointerX11, withoutAnXServerNothingIsTold) {
    qunsetenv("DISPLAY");
    PointerX11 pointer;
    EXPECT_FALSE(pointer.position());
    EXPECT_FALSE(pointer.watchPresses([](QPoint) {}));
    pointer.stopWatching();
}

TEST(PointerX11, theEndOfTheServerEndsTheWatchAndANewServerIsFound) {
    PointerX11 pointer;
    {
        const PrivateDisplay display;
        ASSERT_TRUE(pointer.watchPresses([](QPoint) {}));
    }
    EXPECT_TRUE(waitUntil([&] { return !pointer.position(); }));
    const PrivateDisplay display;
    int presses = 0;
    ASSERT_TRUE(pointer.watchPresses([&](QPoint) { ++presses; }));
    XPointer::press(1);
    EXPECT_TRUE(waitUntil([&] { return presses == 1; }));
}

} // namespace vennic::test
