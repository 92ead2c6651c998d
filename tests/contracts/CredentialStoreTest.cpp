#include "fakes/CredentialStoreFake.h"
#include "fakes/UserPresenceFake.h"
#include "linux/CredentialStoreFile.h"
#include "linux/CredentialStoreSecretService.h"
#include "support/PrivateKeyring.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

class InMemory {
public:
    CredentialStore& store() { return fake_; }
    void setPresence(bool available, PresenceOutcome outcome) {
        fake_.presenceAvailable = available;
        fake_.presenceStatus = outcome == PresenceOutcome::confirmed   ? CredentialStatus::success
                               : outcome == PresenceOutcome::dismissed ? CredentialStatus::userCancelled
                                                                       : CredentialStatus::authFailed;
    }

private:
    CredentialStoreFake fake_;
};

class AskingSomebody {
public:
    void setPresence(bool available, PresenceOutcome outcome) {
        presence_.available = available;
        presence_.outcome = outcome;
    }

protected:
    UserPresenceFake presence_;
};

class InFile : public AskingSomebody {
public:
    CredentialStore& store() { return store_; }

private:
    QTemporaryDir folder_;
    CredentialStoreFile store_{folder_.filePath(QStringLiteral("vault")), presence_};
};

class InSecretService : public AskingSomebody {
public:
    CredentialStore& store() { return store_; }

private:
    QTemporaryDir folder_;
    PrivateKeyring keyring_{folder_.path()};
    CredentialStoreSecretService store_{presence_};
};

} // namespace

template <class P>
class CredentialStoreContract : public testing::Test {
protected:
    CredentialStore& store() { return place_.store(); }
    P place_;
    const CredentialItem item_{QStringLiteral("com.example.token"), QStringLiteral("user")};
    const CredentialItem other_{QStringLiteral("com.example.token"), QStringLiteral("device")};
    const QString prompt_ = QStringLiteral("Es-tu là ?");
};
using Places = testing::Types<InMemory, InFile, InSecretService>;
TYPED_TEST_SUITE(CredentialStoreContract, Places);

TYPED_TEST(CredentialStoreContract, whatWasAddedIsRead) {
    const SecretText secret(QByteArray("s\xc3\xa9"
                                       "cret \"\\\n\x01 token"));
    EXPECT_EQ(this->store().add(this->item_, secret, {}), CredentialStatus::success);
    const auto result = this->store().read(this->item_, std::nullopt);
    EXPECT_EQ(result.status, CredentialStatus::success);
    ASSERT_TRUE(result.data);
    EXPECT_EQ(*result.data, secret);
}

TYPED_TEST(CredentialStoreContract, aMissingItemIsToldApart) {
    const auto result = this->store().read(this->item_, this->prompt_);
    EXPECT_EQ(result.status, CredentialStatus::itemNotFound);
    EXPECT_FALSE(result.data);
    EXPECT_EQ(this->store().remove(this->item_), CredentialStatus::itemNotFound);
}

TYPED_TEST(CredentialStoreContract, anItemIsAddedOnce) {
    EXPECT_EQ(this->store().add(this->item_, SecretText("first"), {}), CredentialStatus::success);
    EXPECT_EQ(this->store().add(this->item_, SecretText("second"), {}), CredentialStatus::duplicateItem);
    EXPECT_EQ(*this->store().read(this->item_, std::nullopt).data, SecretText("first"));
}

TYPED_TEST(CredentialStoreContract, aRemovedItemIsGoneAndCanBeAddedAgain) {
    this->store().add(this->item_, SecretText("first"), {});
    this->store().add(this->other_, SecretText("other"), {});
    EXPECT_EQ(this->store().remove(this->item_), CredentialStatus::success);
    EXPECT_EQ(this->store().read(this->item_, std::nullopt).status, CredentialStatus::itemNotFound);
    EXPECT_EQ(*this->store().read(this->other_, std::nullopt).data, SecretText("other"));
    EXPECT_EQ(this->store().add(this->item_, SecretText("again"), {}), CredentialStatus::success);
    EXPECT_EQ(*this->store().read(this->item_, std::nullopt).data, SecretText("again"));
}

TYPED_TEST(CredentialStoreContract, anEmptySecretIsAnItem) {
    EXPECT_EQ(this->store().add(this->item_, SecretText(), {}), CredentialStatus::success);
    const auto result = this->store().read(this->item_, std::nullopt);
    EXPECT_EQ(result.status, CredentialStatus::success);
    ASSERT_TRUE(result.data);
    EXPECT_TRUE(result.data->isEmpty());
}

TYPED_TEST(CredentialStoreContract, aProtectedItemIsReadOnlyWhenTheUserIsThere) {
    this->place_.setPresence(true, PresenceOutcome::confirmed);
    ASSERT_EQ(this->store().add(this->item_, SecretText("guarded"), {.requiresUserPresence = true}),
              CredentialStatus::success);
    EXPECT_EQ(this->store().read(this->item_, std::nullopt).status, CredentialStatus::interactionNotAllowed);
    EXPECT_EQ(*this->store().read(this->item_, this->prompt_).data, SecretText("guarded"));
    this->place_.setPresence(true, PresenceOutcome::refused);
    EXPECT_EQ(this->store().read(this->item_, this->prompt_).status, CredentialStatus::authFailed);
    this->place_.setPresence(true, PresenceOutcome::dismissed);
    const auto result = this->store().read(this->item_, this->prompt_);
    EXPECT_EQ(result.status, CredentialStatus::userCancelled);
    EXPECT_FALSE(result.data);
}

TYPED_TEST(CredentialStoreContract, aProtectedItemIsRemovedWithoutAsking) {
    ASSERT_EQ(this->store().add(this->item_, SecretText("guarded"), {.requiresUserPresence = true}),
              CredentialStatus::success);
    this->place_.setPresence(true, PresenceOutcome::refused);
    EXPECT_EQ(this->store().remove(this->item_), CredentialStatus::success);
}

TYPED_TEST(CredentialStoreContract, withoutAWayToAskNothingIsProtected) {
    this->place_.setPresence(false, PresenceOutcome::unavailable);
    EXPECT_FALSE(this->store().canRequireUserPresence());
    EXPECT_EQ(this->store().add(this->item_, SecretText("guarded"), {.requiresUserPresence = true}),
              CredentialStatus::authFailed);
    EXPECT_EQ(this->store().read(this->item_, std::nullopt).status, CredentialStatus::itemNotFound);
}

} // namespace vennic::test
