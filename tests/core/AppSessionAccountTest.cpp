#include "backend/APIService.h"
#include "core/SessionFixture.h"

namespace vennic {
namespace {

using Account = test::SessionFixture;

const auto expired = QStringLiteral("Session expirée. Recolle ton jeton dans Réglages (⌘,).");

TEST_F(Account, aNewTokenIsTrimmedStoredPublishedAndFollowed) {
    session();
    settle();
    bridge.calls.clear();
    test::Announcements changed(&session(), &AppSession::userTokenChanged);
    EXPECT_TRUE(session().setToken(SecretText{" tok\r\n"}));
    EXPECT_EQ(storedToken(), QStringLiteral("tok"));
    EXPECT_EQ(session().userToken(), SecretText{"tok"});
    EXPECT_TRUE(session().isAuthenticated());
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("start tok")});
    settle();
    EXPECT_EQ(preferences.pulls, 1);
}

TEST_F(Account, theNewTokenIsPublishedBeforeTheBridgeIsStarted) {
    session();
    bridge.calls.clear();
    QStringList callsAtPublication;
    QObject::connect(&session(), &AppSession::userTokenChanged, [&] { callsAtPublication = bridge.calls; });
    session().setToken(SecretText{"tok"});
    EXPECT_TRUE(callsAtPublication.isEmpty());
}

TEST_F(Account, aSuccessfulTokenDoesNotClearTheLastError) {
    session().setLastError(QStringLiteral("avant"));
    session().setToken(SecretText{"tok"});
    EXPECT_EQ(session().lastError(), QStringLiteral("avant"));
}

TEST_F(Account, aTokenThatTheStoreRefusesChangesNothingButTheError) {
    signedIn();
    credentials.addFailure = CredentialStatus::ioFailed;
    EXPECT_FALSE(session().setToken(SecretText{"new"}));
    EXPECT_EQ(session().lastError(), QStringLiteral("Erreur Trousseau -36"));
    EXPECT_EQ(session().userToken(), SecretText{"tok"});
    EXPECT_TRUE(bridge.calls.isEmpty());
    EXPECT_EQ(storedToken(), QStringLiteral("none"));
    settle();
    EXPECT_EQ(preferences.pulls, 0);
}

TEST_F(Account, aTokenThatCannotBeProtectedIsRefusedWithItsWords) {
    session();
    put("highSecurityMode", true);
    credentials.presenceAvailable = false;
    EXPECT_FALSE(session().setToken(SecretText{"new"}));
    EXPECT_EQ(session().lastError(), QStringLiteral("Impossible de configurer le contrôle d'accès du Trousseau"));
}

TEST_F(Account, signingOutRevokesForgetsAndStops) {
    signedIn();
    session().setUserId(5);
    session().setUserEmail(QStringLiteral("a@b.c"));
    transport.answerWith(204);
    EXPECT_TRUE(session().setToken(SecretText{" \n"}));
    EXPECT_EQ(storedToken(), QStringLiteral("none"));
    EXPECT_EQ(session().userToken(), std::nullopt);
    EXPECT_EQ(session().userEmail(), std::nullopt);
    EXPECT_EQ(session().userId(), 5);
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
    settle();
    ASSERT_EQ(transport.requests.size(), 1U);
    EXPECT_EQ(transport.requests[0].method, "DELETE");
    EXPECT_EQ(transport.requests[0].secretHeaders.at(0).value, SecretText{"tok"});
    EXPECT_TRUE(transport.requests[0].headers.empty());
    EXPECT_EQ(preferences.pulls, 0);
}

TEST_F(Account, aFailedRevokeIsIgnored) {
    for (const auto fault : {TransportFault::noNetwork, TransportFault::tlsRefused}) {
        signedIn();
        transport.failWith(fault);
        session().setToken({});
        settle();
        EXPECT_EQ(session().lastError(), std::nullopt);
    }
    signedIn();
    transport.answerWith(500, "panne");
    session().setToken({});
    settle();
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(Account, aSignOutIsUnderWayUntilTheBackendHasHeardOrCannotBeTold) {
    for (const bool reachable : {true, false}) {
        signedIn();
        const test::Announcements ends(&session(), &AppSession::tokenRevoked);
        transport.hold();
        session().setToken({});
        EXPECT_TRUE(session().isRevoking());
        settle();
        EXPECT_TRUE(session().isRevoking());
        EXPECT_EQ(ends.count(), 0);
        reachable ? transport.answerWith(204) : transport.failWith(TransportFault::noNetwork);
        transport.release();
        settle();
        EXPECT_FALSE(session().isRevoking());
        EXPECT_EQ(ends.count(), 1);
    }
}

TEST_F(Account, aRevokeThatIsAnsweredWith401ShowsNothing) {
    signedIn();
    transport.answerWith(401);
    session().setToken({});
    settle();
    EXPECT_EQ(session().lastError(), std::nullopt);
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
}

TEST_F(Account, aFailedDeletionOfTheTokenIsIgnored) {
    signedIn();
    credentials.removeFailure = CredentialStatus::notAvailable;
    transport.answerWith(204);
    EXPECT_TRUE(session().setToken({}));
    EXPECT_EQ(session().userToken(), std::nullopt);
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(Account, aTokenOfWhiteSpaceWhileSignedOutRevokesNothing) {
    session();
    EXPECT_TRUE(session().setToken(SecretText{"  \t\n"}));
    settle();
    EXPECT_TRUE(transport.requests.empty());
    EXPECT_FALSE(session().isAuthenticated());
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(Account, a401SignsOutWithItsWords) {
    signedIn();
    session().setUserId(5);
    session().setUserEmail(QStringLiteral("a@b.c"));
    session().setProvider(Provider::gemini);
    http.authFailure().post();
    EXPECT_TRUE(session().isAuthenticated()); // a job of its own does the rest
    settle();
    EXPECT_EQ(session().userToken(), std::nullopt);
    EXPECT_EQ(storedToken(), QStringLiteral("none"));
    EXPECT_EQ(session().lastError(), expired);
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
    EXPECT_EQ(session().userId(), 5);
    EXPECT_EQ(session().userEmail(), QStringLiteral("a@b.c"));
    EXPECT_EQ(session().provider(), Provider::gemini);
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(Account, aSecondRefusalAfterTheFirstDoesNothing) {
    signedIn();
    http.authFailure().post();
    http.authFailure().post();
    settle();
    session().setLastError(std::nullopt);
    http.authFailure().post();
    settle();
    EXPECT_EQ(session().lastError(), std::nullopt);
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("stop")});
}

TEST_F(Account, a401WithAStoreThatRefusesToDeleteStillSignsOut) {
    signedIn();
    credentials.removeFailure = CredentialStatus::interactionNotAllowed;
    http.authFailure().post();
    settle();
    EXPECT_EQ(session().userToken(), std::nullopt);
    EXPECT_EQ(session().lastError(), expired);
}

TEST_F(Account, a401OfACallSignsOutAndTheCallerHasItsErrorToo) {
    signedIn();
    transport.answerWith(401, "dead");
    const APIService api(http, config, session().userToken(), {});
    EXPECT_THROW(test::await(api.pollBridgeTask(25)), APIError);
    settle();
    EXPECT_FALSE(session().isAuthenticated());
    EXPECT_EQ(session().lastError(), expired);
}

TEST_F(Account, a401OfAPairingLeavesTheSessionAlone) {
    signedIn();
    transport.answerWith(401, R"({"error":"code inconnu"})");
    EXPECT_THROW(test::await(APIService::claimPairing(http, config, QStringLiteral("X"))), APIError);
    settle();
    EXPECT_TRUE(session().isAuthenticated());
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(Account, aSessionThatIsGoneHearsOfNothing) {
    signedIn();
    http.authFailure().post();
    built.reset();
    http.authFailure().post();
    settle();
    EXPECT_EQ(storedToken(), QStringLiteral("tok"));
}

TEST_F(Account, anotherTokenReplacesTheFirst) {
    signedIn();
    EXPECT_TRUE(session().setToken(SecretText{"other"}));
    EXPECT_EQ(storedToken(), QStringLiteral("other"));
    EXPECT_EQ(bridge.calls, QStringList{QStringLiteral("start other")});
    settle();
    EXPECT_TRUE(transport.requests.empty()); // the first token isn't revoked
}

} // namespace
} // namespace vennic
