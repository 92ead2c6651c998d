#include "linux/photos/PhotoConsent.h"

#include "fakes/KeyValueStoreFake.h"
#include "fakes/ModalDialogsFake.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct PhotoConsentTest : ::testing::Test {
    KeyValueStoreFake store;
    ModalDialogsFake dialogs;
    PhotoConsent consent{store, dialogs};
    Scope scope;
    std::vector<PhotoAuthorization> answers;

    static Task<> keep(PhotoConsent* consent, std::vector<PhotoAuthorization>* answers) {
        answers->push_back(co_await consent->request());
    }
    Job request() { return scope.start(keep(&consent, &answers)); }
    bool onScreen() {
        return waitUntil([&] { return dialogs.onScreen == 1; });
    }
};

} // namespace

TEST_F(PhotoConsentTest, theAnswerIsAskedOnceAndKept) {
    EXPECT_EQ(consent.status(), PhotoAuthorization::notDetermined);
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::authorized);
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::authorized);
    EXPECT_EQ(dialogs.questions.size(), 1U);
    const PhotoConsent later(store, dialogs);
    EXPECT_EQ(later.status(), PhotoAuthorization::authorized);
}

TEST_F(PhotoConsentTest, aNoIsAnAnswerToo) {
    dialogs.answer = DialogAnswer::refused;
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::denied);
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::denied);
    EXPECT_EQ(dialogs.questions.size(), 1U);
}

TEST_F(PhotoConsentTest, theQuestionSaysWhatLeavesAndWhatStays) {
    await(consent.request());
    const DialogQuestion& asked = dialogs.questions.at(0);
    EXPECT_TRUE(asked.title.contains(QStringLiteral("Vennic")));
    for (const char* word : {"nom", "date", "type", "lieu", "restent sur ce Mac", "vennic photos"})
        EXPECT_TRUE(asked.informativeText.contains(QString::fromUtf8(word))) << word;
    EXPECT_EQ(asked.accept, QStringLiteral("Autoriser"));
    EXPECT_EQ(asked.refuse, QStringLiteral("Ne pas autoriser"));
}

TEST_F(PhotoConsentTest, withoutAScreenNobodyIsAskedAndNothingIsDecided) {
    dialogs.screen = false;
    EXPECT_FALSE(consent.canAsk());
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::notDetermined);
    EXPECT_TRUE(dialogs.questions.empty());
    EXPECT_TRUE(store.writes.empty());
}

TEST_F(PhotoConsentTest, aDialogThatCouldNotBeShownDecidesNothing) {
    dialogs.answer = DialogAnswer::none;
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::notDetermined);
    dialogs.answer = DialogAnswer::accepted;
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::authorized);
}

TEST_F(PhotoConsentTest, theUserMayChangeTheirMind) {
    int changes = 0;
    QObject::connect(&consent, &PhotoConsent::statusChanged, &consent, [&] { ++changes; });
    consent.decide(true);
    EXPECT_EQ(consent.status(), PhotoAuthorization::authorized);
    consent.decide(true);
    consent.decide(false);
    EXPECT_EQ(consent.status(), PhotoAuthorization::denied);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(await(consent.request()), PhotoAuthorization::denied);
    EXPECT_TRUE(dialogs.questions.empty());
}

TEST_F(PhotoConsentTest, severalRequestsShareOneDialog) {
    dialogs.hold = true;
    request();
    request();
    ASSERT_TRUE(onScreen());
    request();
    dialogs.answered.set();
    ASSERT_TRUE(waitUntil([&] { return answers.size() == 3; }));
    EXPECT_EQ(answers, std::vector(3, PhotoAuthorization::authorized));
    EXPECT_EQ(dialogs.questions.size(), 1U);
}

TEST_F(PhotoConsentTest, aDecisionElsewhereTakesTheDialogAway) {
    dialogs.hold = true;
    request();
    ASSERT_TRUE(onScreen());
    consent.decide(false);
    ASSERT_TRUE(waitUntil([&] { return answers.size() == 1; }));
    EXPECT_EQ(answers[0], PhotoAuthorization::denied);
    EXPECT_EQ(dialogs.onScreen, 0);
}

TEST_F(PhotoConsentTest, theDialogGoesWhenNobodyWaitsAnyMore) {
    dialogs.hold = true;
    Job first = request();
    Job second = request();
    ASSERT_TRUE(onScreen());
    first.cancel();
    ASSERT_TRUE(waitUntil([&] { return scope.size() == 1; }));
    EXPECT_EQ(dialogs.onScreen, 1);
    second.cancel();
    ASSERT_TRUE(waitUntil([&] { return dialogs.onScreen == 0; }));
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(consent.status(), PhotoAuthorization::notDetermined);
}

TEST_F(PhotoConsentTest, aStoredValueOfAnotherTypeDecidesNothing) {
    store.set(QStringLiteral("photoLibraryAccess"), QStringLiteral("oui"));
    EXPECT_EQ(consent.status(), PhotoAuthorization::notDetermined);
}
