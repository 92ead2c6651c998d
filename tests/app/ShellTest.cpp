#include "app/Shell.h"

#include "app/ClientWorld.h"
#include "support/Await.h"

using namespace vennic;

namespace {

struct ShellTest : test::ClientWorld {
    ShellTest() { qunsetenv("DISPLAY"); } // dialogs go to standard error
    QString stored(QLatin1String key) {
        return storedAs<QString>(client().preferences(), QString(key)).value_or(QString());
    }
    static QString panel(const char* section) {
        return QStringLiteral("vennic://desktop/hallwarden_panel?section=%1").arg(QLatin1String(section));
    }
};

} // namespace

TEST_F(ShellTest, theDesktopHasItComeForwardAndItStaysForward) {
    shell().start();
    desktop.requests.activate();
    EXPECT_TRUE(popover.shown);
    desktop.requests.activate();
    EXPECT_TRUE(popover.shown);
    popover.close();
    shell().comeForward();
    EXPECT_TRUE(popover.shown);
}

TEST_F(ShellTest, aLauncherBringsBackWhatThePressOnItHasClosed) {
    shell().start();
    desktop.requests.activate();
    popover.close(); // by itself, as the press came elsewhere
    desktop.requests.activate();
    EXPECT_TRUE(popover.shown);
}

TEST_F(ShellTest, whatTheDesktopAllowsIsThereBeforeTheWindowComesUp) {
    shell().start();
    desktop.handOver({}, QStringLiteral("shell_TIME4711"), {});
    EXPECT_EQ(allowed, QStringList{QStringLiteral("shell_TIME4711")});
    EXPECT_TRUE(popover.shown);
}

TEST_F(ShellTest, aScreenThatCannotBeMadeIsSaidToWhoPressedTheLauncher) {
    shell().start();
    popover.broken = true;
    testing::internal::CaptureStderr();
    desktop.requests.activate();
    for (int turn = 0; turn < 50; ++turn)
        QCoreApplication::processEvents();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("Pas d'écran."), std::string::npos) << said;
}

TEST_F(ShellTest, theDesktopsLinksLeadToThePanel) {
    shell().start();
    desktop.requests.open({panel("audit")});
    EXPECT_TRUE(test::waitUntil([this] { return windows.calls.contains(QStringLiteral("showSettings")); }));
    EXPECT_EQ(stored(PreferenceKey::hallwardenPanelAnchor), QStringLiteral("activity"));
    EXPECT_EQ(stored(PreferenceKey::settingsInitialTab), QStringLiteral("hallwarden"));
}

TEST_F(ShellTest, aLinkThatLeadsNowhereIsSaidToWhoClickedOnIt) {
    shell().start();
    testing::internal::CaptureStderr();
    shell().open({QStringLiteral("vennic://local_file/open/nulle-part"), QStringLiteral("vennic://ailleurs")});
    for (int turn = 0; turn < 50; ++turn)
        QCoreApplication::processEvents();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("Document introuvable"), std::string::npos) << said;
    EXPECT_NE(said.find("Cette adresse n'est ni"), std::string::npos) << said;
}

TEST_F(ShellTest, theActionsOfTheDesktopEntryAreUnderstoodAndOthersIgnored) {
    shell().start();
    desktop.requests.act(QStringLiteral("toggle"));
    EXPECT_TRUE(popover.shown);
    desktop.requests.act(QStringLiteral("settings"));
    EXPECT_FALSE(popover.shown);
    EXPECT_EQ(stored(PreferenceKey::settingsInitialTab), QStringLiteral("general"));
    desktop.requests.act(QStringLiteral("danse"));
    EXPECT_EQ(quitsOfShell, 0);
    client().preferences().set(PreferenceKey::suppressQuitConfirmation, true);
    desktop.requests.act(QStringLiteral("quit"));
    EXPECT_TRUE(test::waitUntil([this] { return quitsOfShell == 1; }));
}

TEST_F(ShellTest, nothingIsTakenAfterTheEnd) {
    shell().start();
    shell().end();
    EXPECT_FALSE(desktop.requests.activate);
    shell().open({panel("audit")});
    EXPECT_EQ(stored(PreferenceKey::hallwardenPanelAnchor), QString());
}
