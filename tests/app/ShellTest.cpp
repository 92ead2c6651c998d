#include "app/Shell.h"

#include "app/ClientWorld.h"
#include "support/Await.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace vennic;

namespace {

struct ShellTest : test::ClientWorld {
    ShellTest() { qunsetenv("DISPLAY"); } // dialogs go to standard error
    QString stored(QLatin1String key) {
        return storedAs<QString>(client().preferences(), QString(key)).value_or(QString());
    }
    /// Since standard error is captured, in a file.
    static bool somethingWasSaid() {
        struct stat captured{};
        return fstat(STDERR_FILENO, &captured) == 0 && captured.st_size > 0;
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

TEST_F(ShellTest, aPhotoThatIsNotThereIsSaidToWhoClickedOnItsLink) {
    shell().start();
    testing::internal::CaptureStderr();
    shell().open({QStringLiteral("vennic://local_photo/view/nulle-part")});
    EXPECT_TRUE(test::waitUntil([] { return somethingWasSaid(); }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Photo : Photo introuvable dans la bibliothèque.\n");
}

TEST_F(ShellTest, aLinkOfTheDesktopThatIsNoneOfTheProgramsDoesNothing) {
    shell().start();
    windows.calls.clear();
    testing::internal::CaptureStderr();
    shell().open({QStringLiteral("vennic://local_file/open/nulle-part"), QStringLiteral("vennic://ailleurs"),
                  QStringLiteral("vennic://local_file"), QStringLiteral("https://x.fr"),
                  QStringLiteral("VENNIC://LOCAL_FILE/OPEN/x"), QStringLiteral("vennic://desktop/autre?section=audit"),
                  QString(100'000, u'a'), QString()});
    for (int turn = 0; turn < 50; ++turn)
        QCoreApplication::processEvents();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string());
    EXPECT_TRUE(windows.calls.isEmpty());
    EXPECT_EQ(stored(PreferenceKey::hallwardenPanelAnchor), QString());
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

TEST_F(ShellTest, settingsThatCannotBeShownAreSaidAndFailNobody) {
    shell().start();
    windows.broken = true;
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(shell().openSettings(SettingsTab::bridge));
    EXPECT_NO_THROW(desktop.requests.act(QStringLiteral("settings")));
    for (int turn = 0; turn < 50; ++turn)
        QCoreApplication::processEvents();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Vennic : Pas d'écran.\nVennic : Pas d'écran.\n");
    EXPECT_EQ(stored(PreferenceKey::settingsInitialTab), QStringLiteral("general"));
}

TEST_F(ShellTest, nothingIsTakenAfterTheEnd) {
    shell().start();
    shell().end();
    EXPECT_FALSE(desktop.requests.activate);
    shell().open({panel("audit")});
    EXPECT_EQ(stored(PreferenceKey::hallwardenPanelAnchor), QString());
}
