#include "views/ShellFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct AppCommandsTest : test::ShellFixture {
    /// One try of the promotion.
    void turn() {
        settle();
        clock.advance(50ms);
        settle();
    }
};

const QString activate = QStringLiteral("activate");
const QString showSettings = QStringLiteral("showSettings");

} // namespace

TEST_F(AppCommandsTest, theTabIsKeptBeforeTheWindowIsAskedFor) {
    windows.onShowSettings = [this] { EXPECT_EQ(storedWord("settingsInitialTab"), QStringLiteral("localLlm")); };
    commands.openSettingsWindow(SettingsTab::localLlm);
    EXPECT_EQ(windows.calls, (QStringList{activate, showSettings}));
}

TEST_F(AppCommandsTest, everyTabHasItsStoredWord) {
    const std::pair<SettingsTab, const char*> words[] = {{SettingsTab::general, "general"},
                                                         {SettingsTab::bridge, "bridge"},
                                                         {SettingsTab::hallwarden, "hallwarden"},
                                                         {SettingsTab::localLlm, "localLlm"}};
    for (const auto& [tab, word] : words) {
        commands.openSettingsWindow(tab);
        EXPECT_EQ(storedWord("settingsInitialTab"), QLatin1String(word));
        EXPECT_EQ(fromRawValue<SettingsTab>(QString(QLatin1String(word))), tab);
    }
}

TEST_F(AppCommandsTest, thePopoverIsClosedAndTheIconNoLongerHighlighted) {
    menuBar.configure(&session());
    menuBar.togglePopover();
    ASSERT_TRUE(item->highlighted);
    windows.onShowSettings = [this] { EXPECT_FALSE(popover.shown); };
    commands.openSettingsWindow(SettingsTab::general);
    EXPECT_FALSE(popover.shown);
    EXPECT_FALSE(item->highlighted);
}

TEST_F(AppCommandsTest, theNewWindowIsBroughtForwardAsSoonAsItIsThere) {
    windows.open = {{.number = 1, .canBecomeMain = true, .isVisible = true}};
    commands.openSettingsWindow(SettingsTab::general);
    windows.open = {{.number = 1, .canBecomeMain = true, .isVisible = true},
                    {.number = 2, .canBecomeMain = false, .isVisible = true},
                    {.number = 3, .canBecomeMain = true, .isVisible = false}};
    turn();
    EXPECT_EQ(windows.calls, (QStringList{activate, showSettings, activate, QStringLiteral("bringForward 3")}));
    EXPECT_EQ(clock.asked, std::vector<std::chrono::nanoseconds>{50ms});
    turn();
    EXPECT_EQ(clock.sleeping(), 0U);
}

TEST_F(AppCommandsTest, anOpenWindowIsBroughtForwardWhenNoneIsNew) {
    windows.open = {{.number = 1, .canBecomeMain = true, .isVisible = false},
                    {.number = 2, .canBecomeMain = false, .isVisible = true},
                    {.number = 4, .canBecomeMain = true, .isVisible = true}};
    commands.openSettingsWindow(SettingsTab::general);
    turn();
    EXPECT_EQ(windows.calls.last(), QStringLiteral("bringForward 4"));
    EXPECT_EQ(clock.sleeping(), 0U);
}

TEST_F(AppCommandsTest, aSecondOpeningPromotesTheWindowThatIsOpen) {
    commands.openSettingsWindow(SettingsTab::general);
    windows.open = {{.number = 9, .canBecomeMain = true, .isVisible = true}};
    turn();
    windows.calls.clear();
    commands.openSettingsWindow(SettingsTab::bridge);
    turn();
    EXPECT_EQ(windows.calls, (QStringList{activate, showSettings, activate, QStringLiteral("bringForward 9")}));
    EXPECT_EQ(storedWord("settingsInitialTab"), QStringLiteral("bridge"));
}

TEST_F(AppCommandsTest, aWindowThatDoesNotComeIsGivenUpSilentlyAfterSixTries) {
    commands.openSettingsWindow(SettingsTab::general);
    for (int i = 0; i < 10; ++i)
        turn();
    EXPECT_EQ(clock.asked, std::vector<std::chrono::nanoseconds>(6, 50ms));
    EXPECT_EQ(windows.calls.count(activate), 1 + 6);
    EXPECT_EQ(windows.calls.size(), 1 + 1 + 6);
}

TEST_F(AppCommandsTest, aWindowThatComesAtTheLastTryIsStillBroughtForward) {
    commands.openSettingsWindow(SettingsTab::general);
    for (int i = 0; i < 5; ++i)
        turn();
    windows.open = {{.number = 2, .canBecomeMain = true, .isVisible = true}};
    turn();
    EXPECT_EQ(windows.calls.last(), QStringLiteral("bringForward 2"));
}

TEST_F(AppCommandsTest, aViewUsesItsOwnActionInsteadOfTheProgramsOne) {
    bool opened = false;
    commands.openSettings(SettingsTab::bridge, [&] {
        opened = true;
        EXPECT_EQ(windows.calls, QStringList{activate});
    });
    EXPECT_TRUE(opened);
    windows.open = {{.number = 2, .canBecomeMain = true, .isVisible = true}};
    turn();
    EXPECT_EQ(windows.calls, (QStringList{activate, activate, QStringLiteral("bringForward 2")}));
}

} // namespace vennic
