#include "support/Await.h"
#include "views/ShellFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct MenuBarControllerTest : test::ShellFixture {
    MenuBarController& configured() {
        menuBar.configure(&session());
        return menuBar;
    }
    /// The user turns to something else, on a desktop that tells of no presses.
    void clickElsewhere() {
        pointer.stopWatching();
        Q_EMIT popover.left();
    }
    void press(QPoint place) {
        pointer.where = place;
        pointer.press();
    }
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

TEST_F(MenuBarControllerTest, aPressElsewhereClosesThePopover) {
    configured();
    EXPECT_FALSE(pointer.isWatched());
    item->activate();
    press({10, 10});
    EXPECT_FALSE(popover.shown);
    EXPECT_FALSE(item->highlighted);
    clock.advance(1s);
    press({10, 10});
    EXPECT_FALSE(pointer.isWatched()); // nothing is open, and nothing is to be known
}

TEST_F(MenuBarControllerTest, aPressInsideThePopoverLeavesItOpen) {
    configured();
    popover.inside = QRect(800, 30, 380, 520);
    item->activate();
    press({900, 100});
    EXPECT_TRUE(popover.shown);
    EXPECT_TRUE(item->highlighted);
}

TEST_F(MenuBarControllerTest, aPressWhileADialogAsksLeavesItOpenAndItGetsTheKeyboardBack) {
    configured();
    item->activate();
    dialogs.hold = true;
    Scope jobs;
    jobs.start([](ModalDialogs* asked) -> Task<> { co_await asked->ask({}); }(&dialogs));
    ASSERT_TRUE(test::waitUntil([this] { return dialogs.isShowing(); }));
    Q_EMIT popover.left(); // to the dialog
    press({10, 10});
    EXPECT_TRUE(popover.shown);
    EXPECT_EQ(popover.keyboardTaken, 0);
    dialogs.answered.set();
    EXPECT_TRUE(test::waitUntil([this] { return popover.keyboardTaken == 1; }));
    Q_EMIT popover.left();
    EXPECT_FALSE(popover.shown);
}

TEST_F(MenuBarControllerTest, aPressOnAnIconWhosePlaceIsKnownLeavesTheClosingToTheClick) {
    configured();
    item->where = iconPlace;
    item->activate();
    press(iconPlace.center());
    EXPECT_TRUE(popover.shown);
    item->activate();
    EXPECT_FALSE(popover.shown);
}

TEST_F(MenuBarControllerTest, howeverLongTheButtonIsHeldOnTheIconTheClickDoesNotOpenAgain) {
    configured();
    item->activate();
    press({1205, 12});
    EXPECT_FALSE(popover.shown);
    clock.advance(5s);
    item->where = QRect(1211, 9, 1, 1); // as bars tell it which only say where they were clicked
    item->activate();
    EXPECT_FALSE(popover.shown);
    item->activate();
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, aClickOnTheIconAfterOneElsewhereOpensHoweverSoon) {
    configured();
    item->activate();
    press({10, 10});
    item->where = iconPlace;
    press(iconPlace.center());
    item->activate();
    EXPECT_TRUE(popover.shown);
}

TEST_F(MenuBarControllerTest, theKeyboardMayBeGoneBeforeThePressIsTold) {
    configured();
    item->activate();
    Q_EMIT popover.left();
    EXPECT_FALSE(popover.shown);
    item->where = iconPlace;
    press(iconPlace.center());
    clock.advance(2s);
    item->activate();
    EXPECT_FALSE(popover.shown);
}

TEST_F(MenuBarControllerTest, whoClosesItByAKeyMayClickOnTheIconAtOnce) {
    configured();
    item->activate();
    popover.close();
    EXPECT_FALSE(pointer.isWatched());
    item->activate();
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
