#include "linux/CredentialStoreSecretService.h"

#include "fakes/UserPresenceFake.h"
#include "linux/CredentialStoreChoice.h"
#include "linux/CredentialStoreFile.h"
#include "support/PrivateKeyring.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

class CredentialStoreSecretServiceTest : public testing::Test {
protected:
    QTemporaryDir folder_;
    UserPresenceFake presence_;
    const CredentialItem item_{QStringLiteral("com.example.token"), QStringLiteral("user")};
    const SecretText secret_{"s3cret"};
    const QString prompt_ = QStringLiteral("Es-tu là ?");
    const QString vault_ = folder_.filePath(QStringLiteral("vault"));
};

TEST_F(CredentialStoreSecretServiceTest, withoutABusNothingAnswers) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/proc/no-bus");
    CredentialStoreSecretService store(presence_);
    EXPECT_FALSE(store.answers());
    EXPECT_EQ(store.read(item_, prompt_).status, CredentialStatus::notAvailable);
    EXPECT_EQ(store.add(item_, secret_, {}), CredentialStatus::notAvailable);
    EXPECT_EQ(store.remove(item_), CredentialStatus::notAvailable);
}

TEST_F(CredentialStoreSecretServiceTest, aBusWithoutTheServiceDoesNotAnswer) {
    const PrivateBus bus(PrivateBus::Kind::session, folder_.path());
    CredentialStoreSecretService store(presence_);
    EXPECT_FALSE(store.answers());
    EXPECT_EQ(store.read(item_, prompt_).status, CredentialStatus::notAvailable);
}

TEST_F(CredentialStoreSecretServiceTest, itemsCarryTheirAttributes) {
    PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    ASSERT_TRUE(store.answers());
    ASSERT_EQ(store.add(item_, secret_, {.requiresUserPresence = true}), CredentialStatus::success);
    ASSERT_EQ(keyring.items().size(), 1);
    const auto attributes = keyring.items()[0];
    EXPECT_EQ(attributes[QStringLiteral("service")], item_.service);
    EXPECT_EQ(attributes[QStringLiteral("account")], item_.account);
    EXPECT_EQ(attributes[QStringLiteral("xdg:schema")], QStringLiteral("com.vennic.desktop.Credential"));
    EXPECT_EQ(attributes[QStringLiteral("user-presence")], QStringLiteral("required"));
}

TEST_F(CredentialStoreSecretServiceTest, theUserReadsTheSentenceThatWasGiven) {
    const PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    ASSERT_EQ(store.add(item_, secret_, {}), CredentialStatus::success);
    store.read(item_, prompt_);
    EXPECT_TRUE(presence_.reasons.isEmpty()); // nothing protects it
    store.remove(item_);
    ASSERT_EQ(store.add(item_, secret_, {.requiresUserPresence = true}), CredentialStatus::success);
    store.read(item_, prompt_);
    EXPECT_EQ(presence_.reasons, QStringList{prompt_});
}

TEST_F(CredentialStoreSecretServiceTest, aLockedStoreIsNotAnEmptyOne) {
    PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    ASSERT_EQ(store.add(item_, secret_, {}), CredentialStatus::success);
    keyring.lock();
    EXPECT_EQ(store.read(item_, std::nullopt).status, CredentialStatus::interactionNotAllowed);
    EXPECT_EQ(store.add(item_, secret_, {}), CredentialStatus::interactionNotAllowed);
    EXPECT_EQ(store.remove(item_), CredentialStatus::interactionNotAllowed);
    keyring.unlock();
    EXPECT_EQ(*store.read(item_, std::nullopt).data, secret_);
}

TEST_F(CredentialStoreSecretServiceTest, aStoreThatWasNeverOpenedIsLockedToo) {
    PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    ASSERT_EQ(store.add(item_, secret_, {}), CredentialStatus::success);
    keyring.restartLocked();
    EXPECT_EQ(store.read(item_, std::nullopt).status, CredentialStatus::interactionNotAllowed);
}

TEST_F(CredentialStoreSecretServiceTest, aPromptThatCannotBeShownIsARefusal) {
    PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    ASSERT_EQ(store.add(item_, secret_, {}), CredentialStatus::success);
    keyring.lock();
    const auto result = store.read(item_, prompt_); // there is no screen to ask on
    EXPECT_TRUE(result.status == CredentialStatus::userCancelled ||
                result.status == CredentialStatus::interactionNotAllowed)
        << static_cast<int>(result.status);
    EXPECT_FALSE(result.data);
}

TEST_F(CredentialStoreSecretServiceTest, aServiceThatEndedIsAbsentUntilItIsBack) {
    PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    ASSERT_EQ(store.add(item_, secret_, {}), CredentialStatus::success);
    keyring.endService();
    EXPECT_EQ(store.read(item_, std::nullopt).status, CredentialStatus::notAvailable);
    keyring.restartBus();
    EXPECT_EQ(*store.read(item_, std::nullopt).data, secret_);
}

TEST_F(CredentialStoreSecretServiceTest, aLargeSecretIsRefused) {
    const PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService store(presence_);
    EXPECT_EQ(store.add(item_, SecretText(QByteArray(2 << 20, 'x')), {}), CredentialStatus::dataTooLarge);
}

TEST_F(CredentialStoreSecretServiceTest, theVaultIsChosenOnlyWhenNoServiceAnswers) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/proc/no-bus");
    EXPECT_EQ(makeCredentialStore(presence_, vault_)->kind(), QStringLiteral("file"));
    const PrivateKeyring keyring(folder_.path());
    EXPECT_EQ(makeCredentialStore(presence_, vault_)->kind(), QStringLiteral("secret-service"));
}

TEST_F(CredentialStoreSecretServiceTest, theEnvironmentCanChooseTheVaultAndLeavesTheServiceAlone) {
    PrivateKeyring keyring(folder_.path());
    qputenv("VENNIC_CREDENTIALS", "file");
    const auto store = makeCredentialStore(presence_, vault_);
    qputenv("VENNIC_CREDENTIALS", "anything else");
    EXPECT_EQ(makeCredentialStore(presence_, vault_)->kind(), QStringLiteral("secret-service"));
    qunsetenv("VENNIC_CREDENTIALS");
    EXPECT_EQ(store->kind(), QStringLiteral("file"));
    EXPECT_EQ(store->add(item_, secret_, {}), CredentialStatus::success);
    EXPECT_EQ(*store->read(item_, std::nullopt).data, secret_);
    EXPECT_TRUE(keyring.items().isEmpty());
}

TEST_F(CredentialStoreSecretServiceTest, theFirstReadTakesTheVaultsItemOver) {
    CredentialStoreFile vault(vault_, presence_);
    ASSERT_EQ(vault.add(item_, secret_, {.requiresUserPresence = true}), CredentialStatus::success);
    PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService service(presence_);
    ASSERT_EQ(service.add(item_, SecretText("older"), {}), CredentialStatus::success);
    const auto store = makeCredentialStore(presence_, vault_);
    EXPECT_EQ(*store->read(item_, prompt_).data, secret_);
    EXPECT_EQ(vault.read(item_, prompt_).status, CredentialStatus::itemNotFound);
    EXPECT_EQ(*service.read(item_, prompt_).data, secret_);
    ASSERT_EQ(keyring.items().size(), 1);
    EXPECT_TRUE(keyring.items()[0].contains(QStringLiteral("user-presence")));
}

TEST_F(CredentialStoreSecretServiceTest, aLockedServiceLeavesTheVaultItsItem) {
    CredentialStoreFile vault(vault_, presence_);
    ASSERT_EQ(vault.add(item_, secret_, {}), CredentialStatus::success);
    PrivateKeyring keyring(folder_.path());
    keyring.lock();
    const auto store = makeCredentialStore(presence_, vault_);
    EXPECT_EQ(*store->read(item_, std::nullopt).data, secret_);
    EXPECT_EQ(*vault.read(item_, std::nullopt).data, secret_);
}

TEST_F(CredentialStoreSecretServiceTest, removingRemovesFromBothPlaces) {
    CredentialStoreFile vault(vault_, presence_);
    ASSERT_EQ(vault.add(item_, secret_, {}), CredentialStatus::success);
    const PrivateKeyring keyring(folder_.path());
    CredentialStoreSecretService service(presence_);
    ASSERT_EQ(service.add(item_, secret_, {}), CredentialStatus::success);
    const auto store = makeCredentialStore(presence_, vault_);
    EXPECT_EQ(store->remove(item_), CredentialStatus::success);
    EXPECT_EQ(vault.read(item_, prompt_).status, CredentialStatus::itemNotFound);
    EXPECT_EQ(service.read(item_, prompt_).status, CredentialStatus::itemNotFound);
    EXPECT_EQ(store->remove(item_), CredentialStatus::itemNotFound);
}

} // namespace vennic::test
