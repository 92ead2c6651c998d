#include "views/ShellFixture.h"

namespace vennic {
namespace {

struct AppDelegateTest : test::ShellFixture {
    bool follow(const char* address) { return delegate().handleDesktopDeepLink(QUrl(QString::fromUtf8(address))); }
    QString anchorOf(const char* address) {
        store.values.remove(QStringLiteral("hallwardenPanelAnchor"));
        return follow(address) ? storedWord("hallwardenPanelAnchor") : QStringLiteral("false");
    }
    AppDelegate::TerminateReply quit() { return test::await(delegate().applicationShouldTerminate()); }
};

using enum AppDelegate::TerminateReply;

const char* const suppressKey = "suppressQuitConfirmation";

} // namespace

TEST_F(AppDelegateTest, everySectionLeadsToItsPlace) {
    const std::pair<const char*, const char*> sections[] = {
        {"", "summary"},
        {"?section=local", "localRuntime"},
        {"?section=local_runtime", "localRuntime"},
        {"?section=secure", "secureAccess"},
        {"?section=SECURE_ACCESS", "secureAccess"},
        {"?section=activity", "activity"},
        {"?section=audit", "activity"},
        {"?section=approvals", "approvals"},
        {"?section=nowhere", "summary"},
        {"?section=localRuntime", "summary"}, // the stored word is no word of links
        {"?section=", "summary"},
        {"?section", "summary"},
        {"?x=1&section=secure", "secureAccess"},
        {"?Section=audit", "summary"},
        {"?section=secure&section=audit", "secureAccess"},
        {"?section&section=audit", "summary"},
        {"?section=%61udit", "activity"},
        {"?section=audit#approvals", "activity"},
    };
    for (const auto& [query, anchor] : sections)
        EXPECT_EQ(anchorOf((QByteArray("vennic://desktop/hallwarden_panel") + query).constData()),
                  QLatin1String(anchor))
            << query;
}

TEST_F(AppDelegateTest, theCaseOfSchemeHostPathAndSectionDoesNotMatter) {
    EXPECT_EQ(anchorOf("VENNIC://DESKTOP/HALLWARDEN_PANEL?section=Audit"), QStringLiteral("activity"));
    EXPECT_EQ(anchorOf("Vennic://Local/SetUp"), QStringLiteral("localRuntime"));
}

TEST_F(AppDelegateTest, theSetupLinkLeadsToTheLocalRuntimeWhateverItsQuery) {
    EXPECT_EQ(anchorOf("vennic://local/setup"), QStringLiteral("localRuntime"));
    EXPECT_EQ(anchorOf("vennic://local/setup?section=activity"), QStringLiteral("localRuntime"));
}

TEST_F(AppDelegateTest, anUnderstoodLinkOpensTheSettingsAtTheTrustPanel) {
    EXPECT_TRUE(follow("vennic://desktop/hallwarden_panel?section=secure"));
    EXPECT_EQ(storedWord("settingsInitialTab"), QStringLiteral("hallwarden"));
    EXPECT_TRUE(windows.calls.contains(QStringLiteral("showSettings")));
}

TEST_F(AppDelegateTest, anyOtherLinkDoesNothing) {
    for (const char* address :
         {"", "vennic", "vennic:", "vennic://", "vennic://desktop", "vennic://desktop/", "vennic://desktop/hallwarden",
          "vennic://desktop/hallwarden_panel/more", "vennic://local", "vennic://local/setup/x", "vennic://setup/local",
          "vennic:///desktop/hallwarden_panel", "vennic:desktop/hallwarden_panel", "vennics://desktop/hallwarden_panel",
          "https://desktop/hallwarden_panel", "vennic://desktop.evil/hallwarden_panel", "file:///etc/passwd",
          "vennic://local_file/open/1B4E28BA-2FA1-11D2-883F-0016D3CCA427", "vennic://local_photo/view/x"}) {
        EXPECT_FALSE(follow(address)) << address;
    }
    EXPECT_TRUE(store.writes.empty());
    EXPECT_TRUE(windows.calls.isEmpty());
}

TEST_F(AppDelegateTest, anIncomingAddressIsFollowedFromTheEventLoop) {
    delegate().handleIncomingURL(QStringLiteral("vennic://desktop/hallwarden_panel?section=approvals"));
    EXPECT_TRUE(store.writes.empty());
    settle();
    EXPECT_EQ(storedWord("hallwardenPanelAnchor"), QStringLiteral("approvals"));
}

TEST_F(AppDelegateTest, aMessageWithoutAnAddressIsIgnored) {
    QStringList addresses{QString(),
                          QStringLiteral("vennic://[desktop/hallwarden_panel"),
                          QStringLiteral("vennic://%"),
                          QStringLiteral("vennic://desk top/hallwarden_panel"),
                          QString(1'000'000, u'a'),
                          QStringLiteral("vennic://desktop/hallwarden_panel?x=") + QString(20'000, u'a')};
    delegate().handleIncomingURL(std::nullopt);
    for (const QString& address : addresses)
        delegate().handleIncomingURL(address);
    settle();
    EXPECT_TRUE(store.writes.empty());
    EXPECT_TRUE(windows.calls.isEmpty());
}

TEST_F(AppDelegateTest, theStartPutsTheIconThereAndListensToKeysAndLinks) {
    delegate().applicationDidFinishLaunching();
    EXPECT_EQ(itemsMade, 1);
    EXPECT_EQ(summonKeys.bound, &session());
    ASSERT_TRUE(summonKeys.summon);
    summonKeys.summon();
    EXPECT_TRUE(popover.shown);
    ASSERT_TRUE(urls.handler);
    urls.handler(QStringLiteral("vennic://local/setup"));
    settle();
    EXPECT_EQ(storedWord("hallwardenPanelAnchor"), QStringLiteral("localRuntime"));
}

TEST_F(AppDelegateTest, theStartDoesNotStartTheBridge) {
    session();
    bridge.calls.clear();
    delegate().applicationDidFinishLaunching();
    settle();
    EXPECT_TRUE(bridge.calls.empty());
}

TEST_F(AppDelegateTest, theEndStopsListeningToKeysAndLinks) {
    delegate().applicationDidFinishLaunching();
    delegate().applicationWillTerminate();
    EXPECT_FALSE(summonKeys.summon);
    EXPECT_FALSE(urls.handler);
}

TEST_F(AppDelegateTest, theEndIsAskedForInTheProgramsWords) {
    EXPECT_EQ(quit(), now);
    ASSERT_EQ(dialogs.questions.size(), 1U);
    const DialogQuestion expected{
        .title = QStringLiteral("Quitter Vennic ?"),
        .informativeText = QStringLiteral("Le bridge local et le LLM local ne traiteront plus aucune requête tant que "
                                          "Vennic est fermé."),
        .accept = QStringLiteral("Quitter"),
        .refuse = QStringLiteral("Annuler"),
        .style = DialogStyle::informational,
        .suppression = QStringLiteral("Ne plus demander"),
    };
    EXPECT_EQ(dialogs.questions[0], expected);
    EXPECT_EQ(windows.calls, QStringList{QStringLiteral("activate")});
    EXPECT_FALSE(stored(suppressKey));
}

TEST_F(AppDelegateTest, whoCancelsStaysAndIsAskedAgain) {
    dialogs.answer = DialogAnswer::refused; // the box is not heard then
    EXPECT_EQ(quit(), cancel);
    EXPECT_FALSE(stored(suppressKey));
    EXPECT_EQ(quit(), cancel);
    EXPECT_EQ(dialogs.questions.size(), 2U);
}

TEST_F(AppDelegateTest, whoChecksTheBoxIsNotAskedAgain) {
    dialogs.answer = DialogAnswer::acceptedForGood;
    EXPECT_EQ(quit(), now);
    EXPECT_EQ(stored(suppressKey), StoredValue(true));
    EXPECT_EQ(quit(), now);
    EXPECT_EQ(dialogs.questions.size(), 1U);
}

TEST_F(AppDelegateTest, onlyAStoredTrueKeepsTheQuestionAway) {
    put(suppressKey, false);
    EXPECT_EQ(quit(), now);
    put(suppressKey, QStringLiteral("true"));
    EXPECT_EQ(quit(), now);
    EXPECT_EQ(dialogs.questions.size(), 2U);
}

TEST_F(AppDelegateTest, whoCannotBeAskedIsNotHeldBack) {
    dialogs.answer = DialogAnswer::none;
    EXPECT_EQ(quit(), now);
    EXPECT_FALSE(stored(suppressKey));
}

} // namespace vennic
