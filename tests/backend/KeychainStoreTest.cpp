#include "backend/KeychainStore.h"

#include "fakes/CredentialStoreFake.h"
#include "fakes/KeyValueStoreFake.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

const CredentialItem tokenItem{QStringLiteral("com.vennic.mac.usertoken"), QStringLiteral("user_token")};
const CredentialItem deviceItem{QStringLiteral("com.vennic.mac.bridge-device-id"), QStringLiteral("bridge_device_id")};
const auto prompt = QStringLiteral("Authentifie-toi");
const auto deviceKey = QStringLiteral("vennic.bridgeDeviceId");

struct Keychain : testing::Test {
    test::CredentialStoreFake credentials;
    test::KeyValueStoreFake preferences;
    int made = 0;
    KeychainStore keychain{credentials.shared(), preferences,
                           [this] { return QStringLiteral("DEVICE-%1").arg(++made); }};

    void setHighSecurity(bool on) { preferences.set(QStringLiteral("highSecurityMode"), on); }
    void store(const CredentialItem& item, QByteArrayView data) { credentials.add(item, SecretText{data}, {}); }
    QString saveError(QByteArrayView token) {
        try {
            keychain.save(SecretText{token});
        } catch (const KeychainError& error) {
            return error.errorDescription();
        }
        return {};
    }
};

TEST_F(Keychain, readGivesTheSavedToken) {
    keychain.save(SecretText{"tok"});
    EXPECT_EQ(keychain.read(prompt), SecretText{"tok"});
    EXPECT_EQ(credentials.entries.at(0).item, tokenItem);
}

TEST_F(Keychain, anAbsentTokenAndARefusedReadLookTheSame) {
    EXPECT_EQ(keychain.read(prompt), std::nullopt);
    store(tokenItem, "tok");
    for (const auto status : {CredentialStatus::userCancelled, CredentialStatus::authFailed,
                              CredentialStatus::notAvailable, CredentialStatus::interactionNotAllowed}) {
        credentials.readFailure = status;
        EXPECT_EQ(keychain.read(prompt), std::nullopt);
    }
}

TEST_F(Keychain, aTokenThatIsNotUtf8IsNone) {
    store(tokenItem, "\xff\xfe");
    EXPECT_EQ(keychain.read(prompt), std::nullopt);
}

TEST_F(Keychain, thePromptGoesAlongOnlyInHighSecurityMode) {
    keychain.read(prompt);
    setHighSecurity(true);
    keychain.read(prompt);
    setHighSecurity(false);
    keychain.read(prompt);
    const std::vector<std::optional<QString>> expected{std::nullopt, prompt, std::nullopt};
    EXPECT_EQ(credentials.prompts, expected);
}

TEST_F(Keychain, theTokenIsReadBesideTheMainThreadByTheSameRules) {
    EXPECT_EQ(test::await(keychain.readAside(prompt)), std::nullopt);
    keychain.save(SecretText{"tok"});
    setHighSecurity(true);
    EXPECT_EQ(test::await(keychain.readAside(prompt)), SecretText{"tok"});
    EXPECT_EQ(credentials.prompts, (std::vector<std::optional<QString>>{std::nullopt, prompt}));
    credentials.readFailure = CredentialStatus::userCancelled;
    EXPECT_EQ(test::await(keychain.readAside(prompt)), std::nullopt);
}

TEST_F(Keychain, savingAndRemovingLetNobodyBeAsked) {
    setHighSecurity(true);
    keychain.save(SecretText{"tok"});
    EXPECT_FALSE(credentials.entries.at(0).protection.mayAskUser);
    keychain.remove();
    EXPECT_TRUE(credentials.prompts.empty());
}

TEST_F(Keychain, aTokenStoredBeforeTheSwitchIsReadWithAPromptThatNothingUses) {
    keychain.save(SecretText{"tok"});
    setHighSecurity(true);
    EXPECT_EQ(keychain.read(prompt), SecretText{"tok"});
    EXPECT_FALSE(credentials.entries.at(0).protection.requiresUserPresence);
}

TEST_F(Keychain, saveReplacesTheItemAndItsProtection) {
    keychain.save(SecretText{"old"});
    setHighSecurity(true);
    keychain.save(SecretText{"new"});
    ASSERT_EQ(credentials.entries.size(), 1U);
    EXPECT_EQ(credentials.entries[0].data, SecretText{"new"});
    EXPECT_TRUE(credentials.entries[0].protection.requiresUserPresence);
    setHighSecurity(false);
    keychain.save(SecretText{"newer"});
    ASSERT_EQ(credentials.entries.size(), 1U);
    EXPECT_FALSE(credentials.entries[0].protection.requiresUserPresence);
}

TEST_F(Keychain, aFailedSaveLeavesNoTokenBehind) {
    keychain.save(SecretText{"old"});
    credentials.addFailure = CredentialStatus::ioFailed;
    EXPECT_EQ(saveError("new"), QStringLiteral("Erreur Trousseau -36"));
    EXPECT_TRUE(credentials.entries.empty());
}

TEST_F(Keychain, aSaveThatCannotBeProtectedLeavesNoTokenBehind) {
    keychain.save(SecretText{"old"});
    setHighSecurity(true);
    credentials.presenceAvailable = false;
    EXPECT_EQ(saveError("new"), QStringLiteral("Impossible de configurer le contrôle d'accès du Trousseau"));
    EXPECT_TRUE(credentials.entries.empty());
}

TEST_F(Keychain, aFailedRemovalBeforeASaveIsNotTheReasonThatIsTold) {
    credentials.removeFailure = CredentialStatus::notAvailable;
    keychain.save(SecretText{"tok"});
    EXPECT_EQ(saveError("again"), QStringLiteral("Erreur Trousseau -25299"));
}

TEST_F(Keychain, aTokenThatIsNotTextIsRefusedBeforeTheOldOneIsTouched) {
    keychain.save(SecretText{"old"});
    EXPECT_EQ(saveError("\xff"), QStringLiteral("Le Trousseau a renvoyé des données inattendues"));
    EXPECT_EQ(keychain.read(prompt), SecretText{"old"});
}

TEST_F(Keychain, removingAMissingTokenIsFine) {
    EXPECT_NO_THROW(keychain.remove());
    keychain.save(SecretText{"tok"});
    EXPECT_NO_THROW(keychain.remove());
    EXPECT_TRUE(credentials.entries.empty());
}

TEST_F(Keychain, anyOtherFailureOfARemovalIsTold) {
    credentials.removeFailure = CredentialStatus::interactionNotAllowed;
    try {
        keychain.remove();
        FAIL();
    } catch (const KeychainError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Erreur Trousseau -25308"));
        EXPECT_EQ(error.kind(), KeychainError::Case::status);
        EXPECT_EQ(error.code(), CredentialStatus::interactionNotAllowed);
    }
}

TEST_F(Keychain, theDeviceIdentifierIsMadeOnceAndKept) {
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("DEVICE-1"));
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("DEVICE-1"));
    EXPECT_EQ(made, 1);
    EXPECT_EQ(credentials.entries.at(0).item, deviceItem);
    EXPECT_TRUE(preferences.writes.empty());
}

TEST_F(Keychain, aReadOnlyStoreKeepsTheDeviceIdentifierInThePreferences) {
    credentials.addFailure = CredentialStatus::ioFailed;
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("DEVICE-1"));
    EXPECT_EQ(storedAs<QString>(preferences, deviceKey), QStringLiteral("DEVICE-1"));
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("DEVICE-1"));
    EXPECT_EQ(made, 1);
}

TEST_F(Keychain, anOldIdentifierOfThePreferencesMovesIntoTheStoreAndStays) {
    preferences.set(deviceKey, QStringLiteral("OLD"));
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("OLD"));
    EXPECT_EQ(credentials.entries.at(0).item, deviceItem);
    EXPECT_EQ(credentials.entries.at(0).data, SecretText{"OLD"});
    EXPECT_EQ(storedAs<QString>(preferences, deviceKey), QStringLiteral("OLD"));
    EXPECT_EQ(made, 0);
}

TEST_F(Keychain, anEmptyDeviceItemIsReplaced) {
    store(deviceItem, "");
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("DEVICE-1"));
    ASSERT_EQ(credentials.entries.size(), 1U);
    EXPECT_EQ(credentials.entries[0].data, SecretText{"DEVICE-1"});
}

TEST_F(Keychain, anEmptyIdentifierOfThePreferencesCountsAsAbsent) {
    preferences.set(deviceKey, QString());
    EXPECT_EQ(keychain.bridgeDeviceId(), QStringLiteral("DEVICE-1"));
}

TEST_F(Keychain, theDeviceIdentifierNeverAsksTheUser) {
    setHighSecurity(true);
    keychain.bridgeDeviceId();
    EXPECT_EQ(credentials.prompts, std::vector<std::optional<QString>>{std::nullopt});
    EXPECT_FALSE(credentials.entries.at(0).protection.requiresUserPresence);
}

} // namespace
} // namespace vennic
