#include "settings/GeneralSettingsTab.h"

#include "core/SessionFixture.h"
#include "support/MemoryScan.h"
#include "support/TestClock.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <semaphore>

namespace vennic {
namespace {
using namespace std::chrono_literals;

struct GeneralSettingsTabTest : test::SessionFixture {
    test::TestClock clock;
    QList<QUrl> opened;
    QString copied;
    std::unique_ptr<GeneralSettingsTab> own;

    GeneralSettingsTab& tab() {
        if (!own)
            own = std::make_unique<GeneralSettingsTab>(GeneralSettingsTab::Surroundings{
                .session = session(),
                .store = store,
                .keychain = keychain,
                .http = http,
                .config = config,
                .clock = clock,
                .openURL = [this](const QUrl& url) { opened.append(url); },
                .pasteboard = [this] { return copied; },
            });
        return *own;
    }
    /// Has the tab appear and the stored token read, whatever that comes to.
    void appear() {
        tab().appear();
        settleEverywhere();
    }
    QString draft() { return QString::fromUtf8(tab().tokenDraft()->secret().reveal()); }
    QString sessionToken() {
        const auto& token = session().userToken();
        return token ? QString::fromUtf8(token->reveal()) : QStringLiteral("none");
    }
    void pairWith(const char* code) {
        tab().setPairCode(QString::fromUtf8(code));
        tab().claimPairingCode();
        settle();
    }
    void answerClaim() { transport.answerWith(201, R"({"user_token":"fresh","email":"marie@exemple.fr"})"); }
    QString sentCode() {
        return QJsonDocument::fromJson(transport.requests.at(0).body.value())
            .object()
            .value(QLatin1String("pairing_code"))
            .toString();
    }
};

// Pairing

TEST_F(GeneralSettingsTabTest, aCodeIsExchangedForATokenAndTheAccountShown) {
    session();
    answerClaim();
    pairWith("ABCD1234");
    EXPECT_EQ(sessionToken(), QStringLiteral("fresh"));
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    EXPECT_EQ(tab().pairSuccessEmail(), QStringLiteral("marie@exemple.fr"));
    EXPECT_EQ(tab().pairedAccount(), QStringLiteral("Appairé avec marie@exemple.fr"));
    EXPECT_TRUE(tab().isAuthenticated());
    EXPECT_EQ(tab().pairCode(), QString());
    EXPECT_EQ(tab().tokenDraft()->length(), 0);
    EXPECT_EQ(tab().pairError(), QString());
    EXPECT_FALSE(tab().isPairingLoading());
}

TEST_F(GeneralSettingsTabTest, aCodeIsSentWithoutTheBlanksAroundIt) {
    answerClaim();
    pairWith(" \t ABCD 1234\n");
    EXPECT_EQ(sentCode(), QStringLiteral("ABCD 1234"));
}

TEST_F(GeneralSettingsTabTest, aCodeOfBlanksOnlyLeavesTheButtonDisabled) {
    EXPECT_FALSE(tab().canPair());
    for (const char* blanks : {" ", "\n\t", "\u00A0"}) {
        pairWith(blanks);
        EXPECT_FALSE(tab().canPair());
    }
    EXPECT_TRUE(transport.requests.empty());
    tab().setPairCode(QStringLiteral(" a "));
    EXPECT_TRUE(tab().canPair());
}

TEST_F(GeneralSettingsTabTest, aCodeOfFiveCharactersIsSentAndItsRefusalShown) {
    transport.answerWith(422, R"({"error":"code expiré"})");
    pairWith("ABCDE");
    EXPECT_EQ(sentCode(), QStringLiteral("ABCDE"));
    EXPECT_EQ(tab().pairError(), QStringLiteral("Erreur HTTP 422 : code expiré"));
    EXPECT_EQ(tab().pairCode(), QStringLiteral("ABCDE"));
    EXPECT_FALSE(tab().isPairingLoading());
    EXPECT_FALSE(tab().isAuthenticated());
}

TEST_F(GeneralSettingsTabTest, aWrongCodeEndsNoSession) {
    session();
    transport.answerWith(401, R"({"error":"code inconnu"})");
    pairWith("ABCD1234");
    EXPECT_EQ(tab().pairError(), QStringLiteral("Erreur HTTP 401 : code inconnu"));
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(GeneralSettingsTabTest, withoutANetworkTheSentenceOfTheFaultIsShown) {
    transport.failWith(TransportFault::noNetwork);
    pairWith("ABCD1234");
    EXPECT_EQ(tab().pairError(), TransportError(TransportFault::noNetwork).errorDescription());
    transport.answerWith(200, "[]");
    pairWith("ABCD1235");
    EXPECT_FALSE(tab().pairError().isEmpty());
}

TEST_F(GeneralSettingsTabTest, aRefusalOfAnySizeGivesALineOfTheScreen) {
    transport.answerWith(422, QByteArray(16 << 20, 'x'));
    pairWith("ABCD1234");
    EXPECT_EQ(tab().pairError().size(), 1001);
    EXPECT_TRUE(tab().pairError().startsWith(QStringLiteral("Erreur HTTP 422 : xxx")));
    session().setUserEmail(QString(16 << 20, u'm'));
    EXPECT_LT(tab().pairedAccount().size(), 1100);
}

TEST_F(GeneralSettingsTabTest, theFirstKeyAfterAFailureClearsTheError) {
    transport.answerWith(500, "panne");
    pairWith("ABCD");
    ASSERT_EQ(tab().pairError(), QStringLiteral("Erreur HTTP 500 : panne"));
    tab().setPairCode(QStringLiteral("ABCD"));
    EXPECT_FALSE(tab().pairError().isEmpty()) << "nothing was typed";
    tab().setPairCode(QStringLiteral("ABCDE"));
    EXPECT_EQ(tab().pairError(), QString());
}

TEST_F(GeneralSettingsTabTest, aNewAttemptClearsWhatTheLastOneLeft) {
    transport.answerWith(500, "panne");
    pairWith("ABCD");
    transport.hold();
    tab().claimPairingCode();
    EXPECT_EQ(tab().pairError(), QString());
    EXPECT_TRUE(tab().isPairingLoading());
    answerClaim();
    transport.release();
    settle();
    EXPECT_EQ(tab().pairError(), QString());
    EXPECT_TRUE(tab().isAuthenticated());
}

TEST_F(GeneralSettingsTabTest, whileACodeIsBeingClaimedNoOtherOneIs) {
    transport.hold();
    answerClaim();
    pairWith("ABCD1234");
    EXPECT_TRUE(tab().isPairingLoading());
    EXPECT_FALSE(tab().canPair());
    tab().claimPairingCode();
    settle();
    EXPECT_EQ(transport.requests.size(), 1u);
    transport.release();
    settle();
    EXPECT_FALSE(tab().isPairingLoading());
    EXPECT_TRUE(tab().isAuthenticated());
}

TEST_F(GeneralSettingsTabTest, aPairingThatIsUnderWayOutlivesTheWindow) {
    appear();
    transport.hold();
    answerClaim();
    pairWith("ABCD1234");
    tab().disappear();
    transport.release();
    settle();
    EXPECT_EQ(sessionToken(), QStringLiteral("fresh"));
}

TEST_F(GeneralSettingsTabTest, aTokenThatCannotBeStoredIsToldInTheStoresWords) {
    session();
    credentials.addFailure = CredentialStatus::ioFailed;
    answerClaim();
    pairWith("ABCD1234");
    EXPECT_EQ(tab().pairError(), QStringLiteral("Erreur Trousseau -36"));
    EXPECT_EQ(tab().pairCode(), QStringLiteral("ABCD1234"));
    EXPECT_EQ(tab().pairSuccessEmail(), QString());
    EXPECT_FALSE(tab().isAuthenticated());
    EXPECT_FALSE(tab().isPairingLoading());
}

TEST_F(GeneralSettingsTabTest, aTokenThatCannotBeProtectedIsToldInTheStoresWords) {
    put("highSecurityMode", true);
    credentials.presenceAvailable = false;
    answerClaim();
    pairWith("ABCD1234");
    EXPECT_EQ(tab().pairError(), QStringLiteral("Impossible de configurer le contrôle d'accès du Trousseau"));
}

TEST_F(GeneralSettingsTabTest, aStoreThatRefusesWithoutAWordIsToldByAHint) {
    session();
    credentials.addFailure = CredentialStatus::ioFailed;
    // Somebody takes the words off the screen as soon as they come.
    QObject::connect(&session(), &AppSession::lastErrorChanged, &session(), [this] {
        if (session().lastError())
            session().setLastError(std::nullopt);
    });
    answerClaim();
    pairWith("ABCD1234");
    EXPECT_EQ(tab().pairError(), QStringLiteral("Impossible d'enregistrer le jeton dans le Trousseau. Essaie de "
                                                "désactiver « Mode haute sécurité »."));
}

TEST_F(GeneralSettingsTabTest, signingOutForgetsTheAccountAndTheCode) {
    answerClaim();
    pairWith("ABCD1234");
    tab().setPairCode(QStringLiteral("rest"));
    tab().signOut();
    EXPECT_FALSE(tab().isAuthenticated());
    EXPECT_EQ(storedToken(), QStringLiteral("none"));
    EXPECT_EQ(tab().pairSuccessEmail(), QString());
    EXPECT_EQ(tab().pairCode(), QString());
}

TEST_F(GeneralSettingsTabTest, theAccountIsNamedOnceItIsKnown) {
    signedIn();
    EXPECT_EQ(tab().pairedAccount(), QStringLiteral("Ce Mac est appairé"));
    int changes = 0;
    QObject::connect(&tab(), &GeneralSettingsTab::accountChanged, [&] { ++changes; });
    session().setUserEmail(QStringLiteral("marie@exemple.fr"));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(tab().pairedAccount(), QStringLiteral("Appairé avec marie@exemple.fr"));
}

TEST_F(GeneralSettingsTabTest, anAccountThatWasPairedHereIsNotShownForAnothersToken) {
    answerClaim();
    pairWith("ABCD1234");
    session().setToken(SecretText{"another"});
    session().setUserEmail(QStringLiteral("paul@exemple.fr"));
    EXPECT_EQ(tab().pairedAccount(), QStringLiteral("Appairé avec paul@exemple.fr"));
}

TEST_F(GeneralSettingsTabTest, thePairingPageOpensInTheBrowser) {
    EXPECT_EQ(tab().pairingPage(), QStringLiteral("https://vennic.test/appairage"));
    tab().openPairingPage();
    EXPECT_EQ(opened, QList<QUrl>{QUrl(tab().pairingPage())});
}

// The token itself

TEST_F(GeneralSettingsTabTest, theFieldBeginsWithTheStoredToken) {
    signedIn();
    appear();
    EXPECT_EQ(draft(), QStringLiteral("tok"));
    tab().disappear();
    EXPECT_EQ(draft(), QString());
}

TEST_F(GeneralSettingsTabTest, withHighSecurityOnOpeningAsksForAuthenticationOnce) {
    put("highSecurityMode", true);
    signedIn();
    credentials.prompts.clear();
    appear();
    EXPECT_EQ(credentials.prompts, std::vector{std::optional(QStringLiteral("Authentifie-toi pour accéder à Vennic"))});
    EXPECT_EQ(draft(), QStringLiteral("tok"));
    EXPECT_TRUE(tab().highSecurityOn());
}

TEST_F(GeneralSettingsTabTest, aRefusedAuthenticationLeavesTheFieldEmpty) {
    put("highSecurityMode", true);
    signedIn();
    credentials.presenceStatus = CredentialStatus::userCancelled;
    appear();
    EXPECT_EQ(draft(), QString());
    EXPECT_TRUE(tab().isAuthenticated());
}

/// A store whose reads wait until the test lets them go, or until they are told to stop.
struct SlowReading : GeneralSettingsTabTest {
    std::binary_semaphore reached{0};
    std::binary_semaphore released{0};
    std::atomic<bool> stopped = false;

    SlowReading() {
        put("highSecurityMode", true);
        signedIn();
        credentials.whileReading = [this](const std::stop_token& stop) {
            const std::stop_callback told(stop, [this] {
                stopped = true;
                released.release();
            });
            reached.release();
            released.acquire();
        };
        tab().appear();
        settle();
        reached.acquire();
    }
    ~SlowReading() override {
        tab().disappear();
        settleEverywhere();
    }
};

TEST_F(SlowReading, theMainThreadGoesOnWhileTheUserIsAsked) {
    int turns = 0;
    QTimer::singleShot(0, &tab(), [&] { ++turns; });
    EXPECT_TRUE(test::waitUntil([&] { return turns == 1; }));
    EXPECT_EQ(draft(), QString());
    released.release();
    EXPECT_TRUE(test::waitUntil([this] { return draft() == QStringLiteral("tok"); }));
}

TEST_F(SlowReading, closingTheWindowTakesTheQuestionBack) {
    tab().disappear();
    settleEverywhere();
    EXPECT_TRUE(stopped);
    EXPECT_EQ(draft(), QString());
}

TEST_F(SlowReading, whatWasTypedMeanwhileStays) {
    tab().tokenDraft()->insert(QStringLiteral("typed"));
    released.release();
    settleEverywhere();
    EXPECT_EQ(draft(), QStringLiteral("typed"));
}

TEST_F(SlowReading, aTokenThatIsNoLongerTheSessionsIsNotShown) {
    tab().signOut();
    settleEverywhere();
    EXPECT_TRUE(stopped);
    EXPECT_EQ(draft(), QString());
}

TEST_F(SlowReading, theFieldOfAClearedTokenStaysEmpty) {
    tab().clearToken();
    settleEverywhere();
    EXPECT_EQ(draft(), QString());
}

TEST_F(GeneralSettingsTabTest, savingSignsInAndScrubsTheField) {
    tab().tokenDraft()->insert(QStringLiteral(" pasted\n"));
    QStringList seen;
    QObject::connect(tab().tokenDraft(), &SecretDraft::changed, [&] { seen.append(draft()); });
    tab().saveToken();
    EXPECT_EQ(sessionToken(), QStringLiteral("pasted"));
    EXPECT_EQ(seen, (QStringList{QStringLiteral("00000000"), QString()}));
}

TEST_F(GeneralSettingsTabTest, theSavedMarkShowsForASecondAndAHalf) {
    tab().tokenDraft()->insert(QStringLiteral("a"));
    tab().saveToken();
    settle();
    EXPECT_TRUE(tab().savedFlash());
    clock.advance(1499ms);
    settle();
    EXPECT_TRUE(tab().savedFlash());
    clock.advance(1ms);
    settle();
    EXPECT_FALSE(tab().savedFlash());
}

TEST_F(GeneralSettingsTabTest, aSecondSaveShowsItsMarkForItsWholeTime) {
    tab().saveToken();
    settle();
    clock.advance(1s);
    tab().saveToken();
    settle();
    clock.advance(1s);
    settle();
    EXPECT_TRUE(tab().savedFlash());
    clock.advance(500ms);
    settle();
    EXPECT_FALSE(tab().savedFlash());
}

TEST_F(GeneralSettingsTabTest, aSaveThatFailsIsToldByTheSessionAlone) {
    session();
    credentials.addFailure = CredentialStatus::ioFailed;
    tab().tokenDraft()->insert(QStringLiteral("a"));
    tab().saveToken();
    EXPECT_EQ(session().lastError(), QStringLiteral("Erreur Trousseau -36"));
    EXPECT_EQ(tab().pairError(), QString());
    EXPECT_EQ(draft(), QString());
}

TEST_F(GeneralSettingsTabTest, clearingEmptiesTheFieldAndSignsOut) {
    signedIn();
    appear();
    tab().clearToken();
    EXPECT_EQ(draft(), QString());
    EXPECT_EQ(sessionToken(), QStringLiteral("none"));
    EXPECT_EQ(storedToken(), QStringLiteral("none"));
}

TEST_F(GeneralSettingsTabTest, whatWasCopiedCanBePasted) {
    copied = QStringLiteral("from elsewhere");
    tab().pasteToken();
    EXPECT_EQ(draft(), copied);
}

TEST_F(GeneralSettingsTabTest, whatWasPastedStaysNowhereInMemory) {
    if (!test::canSearchMemory())
        GTEST_SKIP() << "a sanitizer keeps what has been freed";
    constexpr int length = 300;
    const std::array<unsigned char, 2> asCopied{0xBE, 0x03}; // the Greek letter ξ in UTF-16
    const std::array<unsigned char, 2> asKept{0xCE, 0xBE};   // and in UTF-8
    GeneralSettingsTab own(GeneralSettingsTab::Surroundings{
        .session = session(),
        .store = store,
        .keychain = keychain,
        .http = http,
        .config = config,
        .clock = clock,
        .openURL = [](const QUrl&) {},
        .pasteboard = [] { return QString(length, QChar(0x03BE)); },
    });
    own.pasteToken();
    EXPECT_EQ(own.tokenDraft()->length(), length);
    EXPECT_FALSE(test::memoryHoldsRun(asCopied, length - 16)) << "what frees memory writes on its beginning";
    EXPECT_TRUE(test::memoryHoldsRun(asKept, length)) << "the secret itself is found by the same search";
    own.disappear();
    EXPECT_FALSE(test::memoryHoldsRun(asKept, length - 16));
}

// Security

TEST_F(GeneralSettingsTabTest, turningHighSecurityOnWithoutATokenWritesOnlyTheDefault) {
    session();
    store.writes.clear();
    tab().setHighSecurityOn(true);
    ASSERT_EQ(store.writes.size(), 1u);
    EXPECT_EQ(store.writes[0].first, QLatin1String("highSecurityMode"));
    EXPECT_EQ(store.writes[0].second, StoredValue(true));
    EXPECT_TRUE(credentials.entries.empty());
    EXPECT_TRUE(credentials.removals.empty());
}

TEST_F(GeneralSettingsTabTest, switchingHighSecurityStoresTheTokenAgainUnderTheNewProtection) {
    signedIn();
    tab().setHighSecurityOn(true);
    ASSERT_EQ(credentials.entries.size(), 1u);
    EXPECT_TRUE(credentials.entries[0].protection.requiresUserPresence);
    EXPECT_EQ(credentials.entries[0].data, SecretText{"tok"});
    tab().setHighSecurityOn(false);
    ASSERT_EQ(credentials.entries.size(), 1u);
    EXPECT_FALSE(credentials.entries[0].protection.requiresUserPresence);
    EXPECT_EQ(sessionToken(), QStringLiteral("tok"));
}

TEST_F(GeneralSettingsTabTest, aTokenThatCannotBeProtectedAnewIsToldByTheSession) {
    signedIn();
    credentials.presenceAvailable = false;
    tab().setHighSecurityOn(true);
    EXPECT_TRUE(tab().highSecurityOn());
    EXPECT_EQ(session().lastError(), QStringLiteral("Impossible de configurer le contrôle d'accès du Trousseau"));
    EXPECT_EQ(sessionToken(), QStringLiteral("tok"));
}

TEST_F(GeneralSettingsTabTest, theSwitchBeginsAsStored) {
    appear();
    EXPECT_FALSE(tab().highSecurityOn());
    put("highSecurityMode", true);
    appear();
    EXPECT_TRUE(tab().highSecurityOn());
    putText("highSecurityMode", "true");
    appear();
    EXPECT_FALSE(tab().highSecurityOn()) << "a word is no boolean";
}

TEST_F(GeneralSettingsTabTest, theConfirmationOfQuittingCanBeHadBack) {
    appear();
    EXPECT_FALSE(tab().quitConfirmationSuppressed());
    put("suppressQuitConfirmation", true);
    appear();
    EXPECT_TRUE(tab().quitConfirmationSuppressed());
    tab().restoreQuitConfirmation();
    EXPECT_FALSE(tab().quitConfirmationSuppressed());
    EXPECT_EQ(stored("suppressQuitConfirmation"), std::nullopt);
}

TEST_F(GeneralSettingsTabTest, eachChangeIsAnnouncedOnce) {
    signedIn();
    QStringList told;
    const auto tell = [&](const char* name) { return [&told, name] { told.append(QLatin1String(name)); }; };
    QObject::connect(&tab(), &GeneralSettingsTab::accountChanged, tell("account"));
    QObject::connect(&tab(), &GeneralSettingsTab::pairCodeChanged, tell("code"));
    QObject::connect(&tab(), &GeneralSettingsTab::highSecurityOnChanged, tell("security"));
    QObject::connect(&tab(), &GeneralSettingsTab::savedFlashChanged, tell("saved"));
    tab().setPairCode(QStringLiteral("a"));
    tab().setPairCode(QStringLiteral("a"));
    tab().setHighSecurityOn(true);
    tab().setHighSecurityOn(true);
    tab().saveToken();
    EXPECT_EQ(told, (QStringList{QStringLiteral("code"), QStringLiteral("security"), QStringLiteral("account"),
                                 QStringLiteral("saved")}));
}

} // namespace
} // namespace vennic
