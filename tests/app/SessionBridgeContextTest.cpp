#include "app/SessionBridgeContext.h"

#include "fakes/CredentialStoreFake.h"
#include "fakes/KeyValueStoreFake.h"

#include <gtest/gtest.h>

using namespace vennic;

namespace {
std::optional<double> noScreen() { return std::nullopt; }
} // namespace

TEST(SessionBridgeContext, withoutASessionTheBridgeIsOff) {
    test::CredentialStoreFake credentials;
    test::KeyValueStoreFake preferences;
    KeychainStore keychain(credentials.shared(), preferences);
    const SessionBridgeContext context(keychain, preferences, noScreen);
    EXPECT_FALSE(context.bridgeEnabled());
    EXPECT_EQ(context.localLLM(), LocalLLMSettings{});
    EXPECT_EQ(context.localLLMDeviceNickname(), QString());
}

TEST(SessionBridgeContext, anIdentifierThatTheStoreKeepsIsTheSameEachTime) {
    test::CredentialStoreFake credentials;
    test::KeyValueStoreFake preferences;
    KeychainStore keychain(credentials.shared(), preferences);
    SessionBridgeContext context(keychain, preferences, noScreen);
    const QString id = context.bridgeDeviceId();
    EXPECT_FALSE(id.isEmpty());
    EXPECT_EQ(context.bridgeDeviceId(), id);
    EXPECT_EQ(keychain.bridgeDeviceId(), id);
}

TEST(SessionBridgeContext, aStandInHoldsOnlyUntilTheStoreGivesTheRealOne) {
    test::CredentialStoreFake credentials;
    test::KeyValueStoreFake preferences;
    preferences.values.insert(PreferenceKey::bridgeDeviceId, QStringLiteral("STAND-IN"));
    KeychainStore keychain(credentials.shared(), preferences);
    SessionBridgeContext context(keychain, preferences, noScreen);
    EXPECT_EQ(context.bridgeDeviceId(), QStringLiteral("STAND-IN"));
    const CredentialItem item{QStringLiteral("com.vennic.mac.bridge-device-id"), QStringLiteral("bridge_device_id")};
    credentials.remove(item);
    ASSERT_EQ(credentials.add(item, SecretText("REAL"), {}), CredentialStatus::success);
    EXPECT_EQ(context.bridgeDeviceId(), QStringLiteral("REAL"));
}

TEST(SessionBridgeContext, theScaleIsWhatTheScreenHasNow) {
    test::CredentialStoreFake credentials;
    test::KeyValueStoreFake preferences;
    KeychainStore keychain(credentials.shared(), preferences);
    std::optional<double> scale;
    const SessionBridgeContext context(keychain, preferences, [&scale] { return scale; });
    EXPECT_EQ(context.mainScreenScale(), std::nullopt);
    scale = 1.5;
    EXPECT_EQ(context.mainScreenScale(), 1.5);
}
