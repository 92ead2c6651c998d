#include "app/ScreenHost.h"

#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;

/// Windows that nobody sees.
class ScreenFake final : public Screen {
public:
    explicit ScreenFake(int* living) : living_(living) { ++*living_; }
    ~ScreenFake() override { --*living_; }
    void showPopover(std::optional<QRect> anchor) override {
        lastAnchor = anchor;
        popover = true;
    }
    void closePopover() override {
        if (std::exchange(popover, false))
            Q_EMIT popoverClosed();
    }
    bool isPopoverShown() const override { return popover; }
    bool isInPopover(QPoint place) const override { return popover && QRect(0, 0, 10, 10).contains(place); }
    void activatePopover() override { ++activations; }
    void showSettings() override {
        ++settingsShown;
        settings = true;
    }
    void raiseSettings() override { ++settingsRaised; }
    bool isSettingsShown() const override { return settings; }
    void closeSettings() {
        settings = false;
        Q_EMIT settingsClosed();
    }

    std::optional<QRect> lastAnchor;
    bool popover = false;
    bool settings = false;
    int settingsShown = 0;
    int settingsRaised = 0;
    int activations = 0;

private:
    int* living_;
};

struct ScreenHostTest : ::testing::Test {
    int living = 0;
    int releases = 0;
    int closings = 0;
    ScreenFake* screen = nullptr;
    ScreenHost host{[this] {
                        auto made = std::make_unique<ScreenFake>(&living);
                        screen = made.get();
                        return std::unique_ptr<Screen>(std::move(made));
                    },
                    [this] { ++releases; }, 20ms};

    ScreenHostTest() {
        QObject::connect(&host, &Popover::closed, &host, [this] { ++closings; });
    }
    bool released() {
        return test::waitUntil([this] { return releases > 0; }, 5s);
    }
};

TEST_F(ScreenHostTest, nothingIsLoadedUntilSomethingIsShown) {
    EXPECT_FALSE(host.isShown());
    host.close();
    host.bringForward(2);
    EXPECT_TRUE(host.windows().empty());
    EXPECT_EQ(living, 0);
    host.show(QRect(1, 2, 3, 4));
    EXPECT_EQ(living, 1);
    EXPECT_EQ(screen->lastAnchor, QRect(1, 2, 3, 4));
    EXPECT_TRUE(host.isShown());
}

TEST_F(ScreenHostTest, aWhileAfterTheCloseItIsGone) {
    host.show({});
    host.close();
    EXPECT_EQ(closings, 1);
    EXPECT_EQ(living, 1) << "who comes back at once finds it";
    ASSERT_TRUE(released());
    EXPECT_EQ(living, 0);
    EXPECT_FALSE(host.isLoaded());
    host.show({});
    EXPECT_EQ(living, 1);
}

TEST_F(ScreenHostTest, whoComesBackKeepsIt) {
    host.show({});
    host.close();
    host.show({});
    EXPECT_FALSE(test::waitUntil([this] { return releases > 0; }, 80ms));
    EXPECT_EQ(living, 1);
}

TEST_F(ScreenHostTest, theSettingsKeepItToo) {
    host.show({});
    host.showSettings();
    host.close();
    EXPECT_FALSE(test::waitUntil([this] { return releases > 0; }, 80ms));
    screen->closeSettings();
    EXPECT_TRUE(released());
}

TEST_F(ScreenHostTest, onlyTheSettingsAreAnOrdinaryWindow) {
    host.show({});
    EXPECT_EQ(host.windows(), (std::vector<ApplicationWindow>{{1, false, true}}));
    host.showSettings();
    EXPECT_EQ(host.windows(), (std::vector<ApplicationWindow>{{1, false, true}, {2, true, true}}));
    host.bringForward(2);
    host.bringForward(1);
    host.bringForward(9);
    EXPECT_EQ(screen->settingsRaised, 1);
    EXPECT_EQ(screen->settingsShown, 1) << "nobody asked for another tab";
}

TEST_F(ScreenHostTest, whatIsPressedAndLeftIsToldByTheScreenAlone) {
    int leavings = 0;
    QObject::connect(&host, &Popover::left, &host, [&] { ++leavings; });
    EXPECT_FALSE(host.contains({1, 1}));
    host.takeKeyboard();
    host.show({});
    EXPECT_TRUE(host.contains({1, 1}));
    EXPECT_FALSE(host.contains({10, 1}));
    Q_EMIT screen->popoverLeft();
    EXPECT_EQ(leavings, 1);
    host.takeKeyboard();
    EXPECT_EQ(screen->activations, 1);
    host.close();
    host.takeKeyboard();
    EXPECT_EQ(screen->activations, 1);
    EXPECT_FALSE(host.contains({1, 1}));
}

TEST(ScreenModule, thatIsMissingIsSaid) {
    ScreenHost host([]() -> std::unique_ptr<Screen> { throw LocalizedError(QStringLiteral("non")); }, [] {});
    EXPECT_THROW(host.show({}), LocalizedError);
    EXPECT_FALSE(host.isShown());
    EXPECT_TRUE(host.windows().empty());
}

} // namespace
} // namespace vennic
