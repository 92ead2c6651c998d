#include "screen/SettingsStates.h"

#include <QAccessible>

#include <semaphore>

namespace vennic::test {
namespace {

struct SettingsWindowTest : SettingsStates {
    void openTokenMenu() {
        const QPointF at = find("token")->mapToScene({20, 15});
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            const auto held = type == QEvent::MouseButtonPress ? Qt::RightButton : Qt::NoButton;
            QMouseEvent event(type, at, window().mapToGlobal(at), Qt::RightButton, held, Qt::NoModifier);
            QCoreApplication::sendEvent(&window(), &event);
            paint();
        }
    }
    bool isWritten(const char* secret) { return settings->general()->tokenDraft()->secret() == SecretText(secret); }
};

TEST_F(SettingsWindowTest, theWindowIsNoSmallerThanItsContentNeeds) {
    open();
    EXPECT_EQ(window().minimumSize(), QSize(520, 620));
    EXPECT_FALSE(window().title().isEmpty());
}

TEST_F(SettingsWindowTest, aCodeIsPairedByTypingIt) {
    session();
    transport.answerWith(201, R"({"user_token":"fresh","email":"marie@exemple.fr"})");
    open();
    EXPECT_EQ(focused(), QStringLiteral("pairCode"));
    EXPECT_FALSE(find("pair")->isEnabled());
    write(QStringLiteral(" ABCD1234 "));
    EXPECT_EQ(settings->general()->pairCode(), QStringLiteral(" ABCD1234 "));
    EXPECT_TRUE(find("pair")->isEnabled());
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return session().isAuthenticated(); }));
    paint();
    EXPECT_EQ(focused(), QStringLiteral("account"));
    EXPECT_TRUE(isFocusSeen());
    for (const int harmless : {Qt::Key_Space, Qt::Key_Return})
        key(harmless);
    EXPECT_TRUE(session().isAuthenticated());
    tabTo("signOut");
    EXPECT_TRUE(isFocusSeen());
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_FALSE(session().isAuthenticated());
    EXPECT_EQ(focused(), QStringLiteral("pairCode"));
    EXPECT_EQ(find("pairCode")->property("text").toString(), QString());
}

TEST_F(SettingsWindowTest, theButtonThatPairsLeavesTheKeyboardWhereTheCodeIs) {
    session();
    transport.answerWith(422, R"({"error":"code expiré"})");
    open();
    write(QStringLiteral("ABCD1234"));
    tabTo("pair");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    ASSERT_TRUE(waitUntil([this] { return !settings->general()->pairError().isEmpty(); }));
    EXPECT_EQ(focused(), QStringLiteral("pairCode"));
    transport.answerWith(201, R"({"user_token":"fresh","email":"marie@exemple.fr"})");
    tabTo("pair");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    ASSERT_TRUE(waitUntil([this] { return session().isAuthenticated(); }));
    paint();
    EXPECT_EQ(focused(), QStringLiteral("account"));
}

TEST_F(SettingsWindowTest, whatHasTheKeyboardIsSeenFromTheBeginning) {
    open("bridge");
    EXPECT_EQ(focused(), QStringLiteral("addFolder")) << "the switch can't be used before pairing";
    EXPECT_TRUE(isFocusSeen());
}

TEST_F(SettingsWindowTest, whoHasAnAccountFindsTheKeyboardWhereItDoesNoHarm) {
    paired();
    open("general");
    EXPECT_EQ(focused(), QStringLiteral("account"));
    EXPECT_TRUE(isFocusSeen());
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_TRUE(session().isAuthenticated());
    key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), QStringLiteral("tab.general"));
    key(Qt::Key_Tab);
    EXPECT_EQ(focused(), QStringLiteral("account"));
}

TEST_F(SettingsWindowTest, returnInAnEmptyTokenFieldEndsNoSession) {
    paired();
    open();
    tabTo("token");
    key(Qt::Key_Backspace);
    ASSERT_EQ(settings->general()->tokenDraft()->length(), 0);
    key(Qt::Key_Return);
    key(Qt::Key_Enter);
    EXPECT_TRUE(session().isAuthenticated());
    EXPECT_FALSE(settings->general()->savedFlash());
    tabTo("saveToken");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_FALSE(session().isAuthenticated()) << "the button does what it says";
}

TEST_F(SettingsWindowTest, theKeyboardReachesEverythingOfTheGeneralTab) {
    put("suppressQuitConfirmation", true);
    open();
    QStringList met;
    for (int presses = 0; presses < 10; ++presses) {
        met.append(focused());
        key(Qt::Key_Tab);
    }
    for (const char* name : {"pairCode", "pairingPage", "token", "saveToken", "clearToken", "highSecurity",
                             "restoreQuitConfirmation", "tab.general"})
        EXPECT_TRUE(met.contains(QLatin1String(name))) << name << " is not in " << met.join(u' ').toStdString();
}

TEST_F(SettingsWindowTest, theTokenIsTypedWithoutEverStandingOnTheScreen) {
    open();
    tabTo("token");
    write(QStringLiteral("seçret"));
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 6);
    for (const QObject* object : window().rootObject()->findChildren<QObject*>()) {
        EXPECT_FALSE(object->property("text").toString().contains(QStringLiteral("seç")));
        EXPECT_FALSE(object->property("text").toString().contains(QStringLiteral("ret")) &&
                     object->property("text").toString().size() < 7);
    }
    key(Qt::Key_Backspace);
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 5);
    key(Qt::Key_A, Qt::ControlModifier);
    copied = QStringLiteral("from-elsewhere");
    key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(settings->general()->tokenDraft()->secret(), SecretText{"from-elsewhere"});
    key(Qt::Key_Return);
    EXPECT_EQ(session().userToken(), SecretText{"from-elsewhere"});
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 0);
    EXPECT_TRUE(settings->general()->savedFlash());
}

TEST_F(SettingsWindowTest, theSwitchOfHighSecurityFollowsTheSpaceBar) {
    open();
    tabTo("highSecurity");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_EQ(stored("highSecurityMode"), StoredValue(true));
    EXPECT_TRUE(find("highSecurity")->property("checked").toBool());
}

TEST_F(SettingsWindowTest, theArrowsChangeTheTab) {
    paired();
    open();
    tabTo("tab.general");
    key(Qt::Key_Right);
    EXPECT_EQ(settings->selected(), QStringLiteral("bridge"));
    EXPECT_TRUE(find("bridgeEnabled"));
    key(Qt::Key_Left);
    EXPECT_EQ(settings->selected(), QStringLiteral("general"));
}

TEST_F(SettingsWindowTest, theTabThatIsAskedForComesUpAlsoWhenTheWindowIsOpen) {
    open("bridge");
    EXPECT_TRUE(find("bridgeEnabled"));
    EXPECT_TRUE(find("tab.bridge")->property("checked").toBool());
    open("general");
    EXPECT_TRUE(find("pairCode"));
    EXPECT_TRUE(find("tab.general")->property("checked").toBool());
}

TEST_F(SettingsWindowTest, aTabChosenMeanwhileStaysWhenTheWindowIsBroughtForward) {
    screen().raiseSettings();
    EXPECT_FALSE(screen().isSettingsShown());
    open("general");
    settings->setSelected(QStringLiteral("bridge"));
    screen().raiseSettings();
    EXPECT_TRUE(find("tab.bridge")->property("checked").toBool());
}

TEST_F(SettingsWindowTest, beforePairingTheBridgeCannotBeSwitchedOn) {
    open("bridge");
    EXPECT_FALSE(find("bridgeEnabled")->isEnabled());
}

TEST_F(SettingsWindowTest, theBridgeIsSwitchedAndFoldersAddedAndRemovedByTheKeyboard) {
    paired();
    world.files->addFolder(QStringLiteral("/home/marie/Documents"));
    folderPicker.chosen = {QStringLiteral("/home/marie/Documents")};
    open("bridge");
    EXPECT_EQ(focused(), QStringLiteral("bridgeEnabled"));
    EXPECT_TRUE(isFocusSeen());
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_TRUE(session().bridgeEnabled());
    tabTo("addFolder");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    ASSERT_TRUE(waitUntil([this] { return world.grants.entries().size() == 1; }));
    ASSERT_TRUE(foldersFound());
    paint();
    EXPECT_EQ(focused(), QStringLiteral("addFolder"));
    tabTo("remove");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_TRUE(world.grants.entries().empty());
    EXPECT_EQ(focused(), QStringLiteral("addFolder"));
    EXPECT_TRUE(isFocusSeen());
}

TEST_F(SettingsWindowTest, whileFoldersAreChosenTheButtonWaits) {
    folderPicker.hold = true;
    open("bridge");
    tabTo("addFolder");
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    ASSERT_TRUE(waitUntil([this] { return settings->bridge()->isPicking(); }));
    EXPECT_FALSE(find("addFolder")->isEnabled());
    folderPicker.confirmed.set();
    ASSERT_TRUE(waitUntil([this] { return !settings->bridge()->isPicking(); }));
    paint();
    EXPECT_TRUE(find("addFolder")->isEnabled());
    EXPECT_EQ(focused(), QStringLiteral("addFolder"));
    EXPECT_TRUE(isFocusSeen());
}

TEST_F(SettingsWindowTest, closingTheWindowForgetsTheTokenInItsField) {
    paired();
    open();
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 3);
    window().close();
    paint();
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 0);
}

TEST_F(SettingsWindowTest, theWindowIsUsedWhileTheSystemAsksForTheToken) {
    put("highSecurityMode", true);
    paired();
    std::binary_semaphore answered{0};
    credentials.whileReading = [&](const std::stop_token&) { answered.acquire(); };
    screen().showSettings();
    EXPECT_TRUE(waitUntil([this] { return screen().settings()->isActive(); }));
    paint();
    EXPECT_FALSE(screen().settings()->grabWindow().isNull());
    settings->setSelected(QStringLiteral("bridge"));
    paint();
    EXPECT_TRUE(find("bridgeEnabled"));
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 0);
    answered.release();
    EXPECT_TRUE(waitUntil([this] { return settings->general()->tokenDraft()->length() == 3; }));
    credentials.whileReading = {};
}

TEST_F(SettingsWindowTest, theKeysThatCloseAWindowCloseIt) {
    for (const auto& [closing, modifiers] :
         {std::pair{Qt::Key_Escape, Qt::NoModifier}, {Qt::Key_W, Qt::ControlModifier}, {Qt::Key_W, Qt::MetaModifier}})
        for (const char* from : {"pairCode", "token", "highSecurity", "tab.general"}) {
            open();
            tabTo(from);
            key(closing, modifiers);
            EXPECT_FALSE(screen().isSettingsShown()) << from;
        }
}

TEST_F(SettingsWindowTest, escapeInAMenuClosesTheMenuAlone) {
    open();
    openTokenMenu();
    key(Qt::Key_Escape);
    ASSERT_TRUE(screen().isSettingsShown());
    key(Qt::Key_Escape);
    EXPECT_FALSE(screen().isSettingsShown());
}

TEST_F(SettingsWindowTest, theMenuOfTheTokenGivesTheKeyboardBackToItsField) {
    open();
    tabTo("token");
    write(QStringLiteral("abc"));
    openTokenMenu();
    EXPECT_NE(focused(), QStringLiteral("token"));
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return focused() == QStringLiteral("token"); }));
    write(QStringLiteral("d"));
    EXPECT_TRUE(isWritten("abcd")) << "nothing was selected on the way";
    openTokenMenu();
    key(Qt::Key_Down);
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return focused() == QStringLiteral("token"); }));
    EXPECT_TRUE(settings->general()->tokenDraft()->isSelected());
    copied = QStringLiteral("xyz");
    openTokenMenu();
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return focused() == QStringLiteral("token"); }));
    EXPECT_TRUE(isWritten("xyz")) << "in place of what was selected";
    key(Qt::Key_Tab);
    EXPECT_EQ(focused(), QStringLiteral("saveToken"));
}

TEST_F(SettingsWindowTest, whatHasTheKeyboardIsInSight) {
    put("suppressQuitConfirmation", true);
    open();
    window().resize(520, 300);
    paint();
    tabTo("restoreQuitConfirmation");
    const QQuickItem* const button = find("restoreQuitConfirmation");
    const QRectF place = button->mapRectToScene(QRectF(0, 0, button->width(), button->height()));
    EXPECT_LE(place.bottom(), window().height());
    EXPECT_GE(place.top(), 68);
}

TEST_F(SettingsWindowTest, readersOfTheScreenAreToldWhatEachThingIs) {
    paired();
    open();
    QAccessible::setActive(true); // somebody listens from here on
    const auto role = [this](const char* name) {
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(find(name));
        return face ? face->role() : QAccessible::NoRole;
    };
    const auto nameOf = [this](const char* name) {
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(find(name));
        return face ? face->text(QAccessible::Name) : QString();
    };
    EXPECT_EQ(role("token"), QAccessible::EditableText);
    EXPECT_EQ(role("pairingPage"), QAccessible::Link);
    QAccessibleInterface* const token = QAccessible::queryAccessibleInterface(find("token"));
    EXPECT_TRUE(token->state().passwordEdit);
    EXPECT_EQ(token->text(QAccessible::Description), QStringLiteral("X-User-Token, 3 caractères"));
    EXPECT_EQ(token->text(QAccessible::Value), QString());
    EXPECT_EQ(role("signOut"), QAccessible::Button);
    EXPECT_EQ(nameOf("signOut"), QStringLiteral("Se déconnecter"));
    EXPECT_EQ(role("highSecurity"), QAccessible::CheckBox);
    EXPECT_EQ(nameOf("highSecurity"), QStringLiteral("Mode haute sécurité"));
    EXPECT_EQ(role("tab.bridge"), QAccessible::PageTab);
}

TEST_F(SettingsWindowTest, anEndlessRefusalTakesAFewLines) {
    transport.answerWith(500, QByteArray(900'000, 'x').replace(100, 1, "\n"));
    open();
    write(QStringLiteral("ABCD1234"));
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !settings->general()->pairError().isEmpty(); }));
    paint();
    const QQuickItem* const note = find("pairError");
    ASSERT_TRUE(note);
    EXPECT_GT(note->height(), 0);
    EXPECT_LT(note->height(), 200);
}

// Pictures for people to look at

TEST_F(SettingsWindowTest, pictureBeforePairing) { keep("unpaired"); }
TEST_F(SettingsWindowTest, pictureBeforePairingInTheDark) {
    appearance.dark = true;
    keep("unpaired");
}
TEST_F(SettingsWindowTest, pictureOfARefusedCode) {
    transport.answerWith(422, R"({"error":"code expiré"})");
    open();
    write(QStringLiteral("ABCD1234"));
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !settings->general()->pairError().isEmpty(); }));
    tabTo("token");
    write(QStringLiteral("unjeton"));
    keep("refused");
}
TEST_F(SettingsWindowTest, aRefusalOfAnySizeTakesAFewLines) {
    transport.answerWith(422, QByteArray(16 << 20, 'x'));
    open();
    write(QStringLiteral("ABCD1234"));
    key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !settings->general()->pairError().isEmpty(); }));
    keep("refused-at-length");
    EXPECT_LT(find("pairError")->height(), 130);
    EXPECT_GT(find("pairError")->height(), 60);
}
TEST_F(SettingsWindowTest, pictureOfAnAccount) {
    paired();
    keep("paired");
}
TEST_F(SettingsWindowTest, pictureOfAnAccountInTheDark) {
    appearance.dark = true;
    paired();
    open();
    tabTo("highSecurity");
    keep("paired");
}
TEST_F(SettingsWindowTest, pictureOfTheBridgeWithoutFolders) {
    open("bridge");
    keep("bridge-empty");
}
TEST_F(SettingsWindowTest, pictureOfTheBridge) {
    paired();
    shares();
    bridgeAtWork();
    open("bridge");
    ASSERT_TRUE(foldersFound());
    world.files->addFolder(QStringLiteral("/home/marie/.ssh"));
    folderPicker.chosen = {QStringLiteral("/home/marie/.ssh")};
    settings->bridge()->pickFolder();
    ASSERT_TRUE(waitUntil([this] { return !settings->bridge()->addError().isEmpty(); }));
    keep("bridge");
}
TEST_F(SettingsWindowTest, pictureOfTheBridgeInTheDark) {
    appearance.dark = true;
    paired();
    shares();
    bridgeAtWork();
    open("bridge");
    ASSERT_TRUE(foldersFound());
    keep("bridge");
}

} // namespace
} // namespace vennic::test
