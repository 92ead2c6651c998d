#include "screen/ScreenFixture.h"

#include <QAccessible>
#include <QDir>
#include <QKeyEvent>

namespace vennic::test {
namespace {

/// The settings window, driven by the keyboard alone.
struct SettingsWindowTest : ScreenFixture {
    QQuickView& window() {
        if (!screen().isSettingsShown())
            open();
        return *screen().settings();
    }
    void open(const char* tab = nullptr) {
        if (tab)
            putText("settingsInitialTab", tab);
        screen().showSettings();
        waitUntil([this] { return screen().settings()->isActive(); });
        paint();
    }
    static QQuickItem* find(QQuickItem* in, const QString& name) {
        if (in->objectName() == name)
            return in;
        for (QQuickItem* const child : in->childItems())
            if (QQuickItem* const found = find(child, name))
                return found;
        return nullptr;
    }
    /// The item of that object name; there has to be one.
    QQuickItem* find(const char* name) {
        QQuickItem* const found = find(window().rootObject(), QLatin1String(name));
        if (!found)
            throw std::runtime_error(std::string("there is no ") + name);
        return found;
    }
    QString focused() { return window().activeFocusItem() ? window().activeFocusItem()->objectName() : QString(); }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {}) {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, text);
            QCoreApplication::sendEvent(&window(), &event);
        }
        paint();
    }
    void write(const QString& text) {
        for (const QChar c : text)
            key(0, Qt::NoModifier, c);
    }
    void tabTo(const char* name) {
        for (int presses = 0; presses < 20 && focused() != QLatin1String(name); ++presses)
            key(Qt::Key_Tab);
        EXPECT_EQ(focused(), QLatin1String(name));
    }
    void keep(const char* name) {
        paint();
        const QImage image = window().grabWindow();
        const qreal scale = window().devicePixelRatio();
        EXPECT_EQ(image.size(), window().size() * scale);
        const QString folder = qEnvironmentVariable("VENNIC_PICTURES");
        if (!folder.isEmpty()) {
            EXPECT_TRUE(image.save(QDir(folder).filePath(
                QStringLiteral("settings-%1%2@%3.png")
                    .arg(QLatin1String(name), appearance.dark ? QStringLiteral("-dark") : QString())
                    .arg(scale))));
        }
    }
    void paired() {
        signedIn();
        session().setUserEmail(QStringLiteral("marie@exemple.fr"));
        put("suppressQuitConfirmation", true);
    }
    void shares() {
        world.share(QStringLiteral("/home/marie/Documents"));
        world.share(QStringLiteral("/home/marie/Images/Été à Noël"));
        world.share(QStringLiteral("/media/sauvegarde/Archives"));
        world.bookmarks->moved[QStringLiteral("/home/marie/Images/Été à Noël")] = QStringLiteral(
            "/home/marie/Images/Vacances/Un très long nom de dossier qui ne tient pas sur la ligne/Été à Noël");
        world.bookmarks->lost.insert(QStringLiteral("/media/sauvegarde/Archives"));
    }
    void bridgeAtWork() {
        session().setBridgeEnabled(true);
        world.backend.preparePoll(taskJson("list_folders"));
        world.service->start(SecretText{"token"});
        ASSERT_TRUE(waitUntil([this] { return world.service->tasksServed() == 1; }));
        world.clock.advance(std::chrono::minutes{3});
        clock.advance(std::chrono::minutes{3});
    }
    bool foldersFound() {
        return waitUntil([this] {
            return !settings->bridge()->folders().isEmpty() && !settings->bridge()
                                                                    ->folders()
                                                                    .last()
                                                                    .toMap()
                                                                    .value(QStringLiteral("path"))
                                                                    .toString()
                                                                    .startsWith(u'R');
        });
    }
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
    EXPECT_EQ(focused(), QStringLiteral("signOut"));
    key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    EXPECT_FALSE(session().isAuthenticated());
    EXPECT_EQ(focused(), QStringLiteral("pairCode"));
    EXPECT_EQ(find("pairCode")->property("text").toString(), QString());
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
}

TEST_F(SettingsWindowTest, closingTheWindowForgetsTheTokenInItsField) {
    paired();
    open();
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 3);
    window().close();
    paint();
    EXPECT_EQ(settings->general()->tokenDraft()->length(), 0);
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
