#include "views/ShellFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct MenuBarControllerTest : test::ShellFixture {
    MenuBarController& configured() {
        menuBar.configure(&session());
        return menuBar;
    }
    /// The user turns to something else.
    void clickElsewhere() { popover.close(); }
};

constexpr QRect iconPlace(1200, 2, 22, 22);

} // namespace

TEST_F(MenuBarControllerTest, theIconIsTheProgramsOwnAsATemplateOf18Points) {
    images.own[QStringLiteral("VennicStatusIcon")].svg = "own";
    images.symbols = QStringList{QStringLiteral("waveform")};
    configured();
    ASSERT_TRUE(item->image);
    EXPECT_EQ(item->image->svg, "own");
    EXPECT_TRUE(item->image->isTemplate);
    EXPECT_EQ(item->image->size, QSize(18, 18));
    EXPECT_EQ(item->label, QStringLiteral("Vennic"));
}

TEST_F(MenuBarControllerTest, withoutItsOwnPictureTheWaveformStandsIn) {
    images.symbols = QStringList{QStringLiteral("waveform")};
    configured();
    ASSERT_TRUE(item->image);
    EXPECT_EQ(item->image->svg, "waveform");
    EXPECT_EQ(item->image->accessibilityDescription, QStringLiteral("Vennic"));
    EXPECT_TRUE(item->image->isTemplate);
    EXPECT_EQ(item->image->size, QSize(18, 18));
}

TEST_F(MenuBarControllerTest, withoutAnyPictureTheIconIsThereAllTheSame) {
    configured();
    EXPECT_EQ(itemsMade, 1);
    EXPECT_FALSE(item->image);
    item->activate();
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, configuringTwiceMakesOneItem) {
    configured();
    configured();
    EXPECT_EQ(itemsMade, 1);
}

TEST_F(MenuBarControllerTest, aSummonBeforeTheConfigurationShowsNothing) {
    menuBar.handleDoubleCommand();
    menuBar.togglePopover();
    menuBar.toggleFromStatusItem(iconPlace);
    menuBar.closePopover();
    EXPECT_FALSE(popover.shown);
    EXPECT_TRUE(popover.anchors.empty());
}

TEST_F(MenuBarControllerTest, aClickOpensAtTheIconAndHighlightsIt) {
    configured();
    item->where = iconPlace;
    item->activate();
    EXPECT_TRUE(popover.shown);
    EXPECT_TRUE(item->highlighted);
    EXPECT_EQ(popover.anchors, std::vector<std::optional<QRect>>{iconPlace});
    EXPECT_EQ(windows.calls, QStringList{QStringLiteral("activate")});
}

TEST_F(MenuBarControllerTest, aClickOnTheIconOfTheOpenPopoverClosesIt) {
    configured();
    item->activate();
    item->activate();
    EXPECT_FALSE(popover.shown);
    EXPECT_FALSE(item->highlighted);
    item->activate(); // and the next opens it, however soon
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, withoutAPlaceItOpensAtThePointer) {
    configured();
    menuBar.togglePopover();
    EXPECT_EQ(popover.anchors, std::vector<std::optional<QRect>>{std::nullopt});
}

TEST_F(MenuBarControllerTest, aSummonOpensWhatTheUserChose) {
    configured();
    session().setMode(Mode::microphone);
    session().setSummonBehavior(SummonBehavior::chat);
    menuBar.handleDoubleCommand();
    EXPECT_TRUE(popover.shown);
    EXPECT_TRUE(item->highlighted);
    EXPECT_EQ(session().mode(), Mode::chat);
}

TEST_F(MenuBarControllerTest, aSummonLeavesTheLastModeWhenThatIsWanted) {
    configured();
    session().setMode(Mode::microphone);
    session().setSummonBehavior(SummonBehavior::lastUsed);
    menuBar.handleDoubleCommand();
    EXPECT_EQ(session().mode(), Mode::microphone);
}

TEST_F(MenuBarControllerTest, aClickDoesNotChangeTheMode) {
    configured();
    session().setMode(Mode::microphone);
    session().setSummonBehavior(SummonBehavior::chat);
    item->activate();
    EXPECT_EQ(session().mode(), Mode::microphone);
}

TEST_F(MenuBarControllerTest, aClosingSummonDoesNotChangeTheMode) {
    configured();
    item->activate();
    session().setMode(Mode::microphone);
    session().setSummonBehavior(SummonBehavior::chat);
    menuBar.handleDoubleCommand();
    EXPECT_FALSE(popover.shown);
    EXPECT_FALSE(item->highlighted);
    EXPECT_EQ(session().mode(), Mode::microphone);
}

TEST_F(MenuBarControllerTest, aSummonAfterTheSessionIsGoneStillOpens) {
    configured();
    built.reset();
    menuBar.handleDoubleCommand();
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, aClickElsewhereTakesTheHighlightAway) {
    configured();
    item->activate();
    clickElsewhere();
    EXPECT_FALSE(item->highlighted);
}

TEST_F(MenuBarControllerTest, thePressOnTheIconThatClosedThePopoverDoesNotOpenItAgain) {
    configured();
    item->activate();
    clickElsewhere(); // as the press on the icon looks under some desktops
    clock.advance(200ms);
    item->activate();
    EXPECT_FALSE(popover.shown);
    item->activate(); // one click is swallowed, not the next
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, aClickWellAfterOneElsewhereOpensAgain) {
    configured();
    item->activate();
    clickElsewhere();
    clock.advance(400ms);
    item->activate();
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, aSummonRightAfterAClickElsewhereOpensAgain) {
    configured();
    item->activate();
    clickElsewhere();
    menuBar.handleDoubleCommand();
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, aPopoverThatCannotBeShownIsSaidAndNotHighlighted) {
    configured();
    popover.broken = true;
    QStringList reasons;
    QObject::connect(&menuBar, &MenuBarController::popoverUnavailable, &menuBar,
                     [&](const QString& reason) { reasons.append(reason); });
    item->activate();
    menuBar.handleDoubleCommand();
    EXPECT_EQ(reasons, QStringList(2, QStringLiteral("Pas d'écran.")));
    EXPECT_THROW(menuBar.togglePopover(), LocalizedError);
    EXPECT_THROW(menuBar.summon(), LocalizedError);
    EXPECT_FALSE(item->highlighted);
}

} // namespace vennic
