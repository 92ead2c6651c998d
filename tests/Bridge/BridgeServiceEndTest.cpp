#include "Bridge/BridgeServiceFixture.h"

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;
using Status = BridgeService::Status;

TEST_F(BridgeServiceTest, stoppingDuringTheBackOffEndsAtOnceAndKeepsTheCounts) {
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("list_folders"));
    ASSERT_TRUE(polling(2));
    world.backend.answerPoll(500, "panne");
    ASSERT_TRUE(sleeping());
    service.stop();
    EXPECT_EQ(service.status(), Status::off());
    ASSERT_TRUE(waitUntil([&] { return world.clock.sleeping() == 0; }));
    EXPECT_FALSE(waitUntil([&] { return world.backend.polls.size() > 2; }, 30ms));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(service.tasksServed(), 1);
    EXPECT_EQ(service.lastErrorMessage(), QStringLiteral("Erreur HTTP 500 : panne"));
    EXPECT_TRUE(service.lastTaskAt().has_value());
    start();
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
    ASSERT_TRUE(polling(3));
    EXPECT_EQ(service.tasksServed(), 1);
}

TEST_F(BridgeServiceTest, stoppingDuringAPollEndsIt) {
    start();
    ASSERT_TRUE(polling(1));
    service.stop();
    ASSERT_TRUE(waitUntil([&] { return world.backend.openPolls() == 0; }));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
    EXPECT_EQ(seen, (std::vector<Status>{Status::idle(), Status::polling(), Status::off()}));
}

TEST_F(BridgeServiceTest, stoppingBeforeTheFirstTurnNeverPolls) {
    start();
    service.stop();
    EXPECT_FALSE(waitUntil([&] { return !world.backend.polls.empty(); }, 30ms));
    EXPECT_EQ(service.status(), Status::off());
}

TEST_F(BridgeServiceTest, stoppingDuringATaskEndsItUnansweredAndCountsIt) {
    world.backend.holdUpdates = true;
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("list_folders"));
    ASSERT_TRUE(waitUntil([&] { return world.backend.openUpdates() == 1; }));
    service.stop();
    EXPECT_EQ(service.status(), Status::off());
    ASSERT_TRUE(waitUntil([&] { return world.backend.openUpdates() == 0 && service.tasksServed() == 1; }));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
    EXPECT_EQ(world.backend.polls.size(), 1U);
}

TEST_F(BridgeServiceTest, aTaskThatArrivesTogetherWithTheStopIsLeftAlone) {
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("list_folders"));
    service.stop();
    EXPECT_FALSE(waitUntil([&] { return !world.backend.updates.empty(); }, 30ms));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(service.tasksServed(), 0);
}

TEST_F(BridgeServiceTest, aPollThatTheTransportGaveUpAfterAStopTakesTheFailureBranchAndEndsOff) {
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(TransportFault::cancelled);
    service.stop();
    ASSERT_TRUE(waitUntil([&] { return service.lastErrorMessage().has_value(); }));
    EXPECT_EQ(service.lastErrorMessage(), QStringLiteral("La requête a été annulée."));
    ASSERT_TRUE(waitUntil([&] { return service.status() == Status::off(); }));
    EXPECT_EQ(world.backend.polls.size(), 1U);
}

TEST_F(BridgeServiceTest, anUnauthorisedPollIsAnnouncedAndTheStopThatFollowsEndsTheLoop) {
    QObject::connect(&world.http.authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure, &service,
                     [&] { service.stop(); });
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(401, "expiré");
    ASSERT_TRUE(waitUntil([&] { return service.lastErrorMessage() == QStringLiteral("Erreur HTTP 401 : expiré"); }));
    ASSERT_TRUE(waitUntil([&] { return service.status() == Status::off() && world.clock.sleeping() == 0; }));
    EXPECT_FALSE(waitUntil([&] { return world.backend.polls.size() > 1; }, 30ms));
}

TEST_F(BridgeServiceTest, anUnauthorisedAnswerToATaskStopsTheLoopToo) {
    QObject::connect(&world.http.authFailure(), &AuthFailureNotification::VennicHTTPAuthFailure, &service,
                     [&] { service.stop(); });
    world.backend.preparedUpdates.emplace_back(HttpResponse{.status = 401, .headers = {}, .body = {}});
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("list_folders"));
    ASSERT_TRUE(waitUntil([&] { return service.tasksServed() == 1; }));
    EXPECT_FALSE(waitUntil([&] { return world.backend.polls.size() > 1; }, 30ms));
    EXPECT_EQ(service.status(), Status::off());
}

TEST_F(BridgeServiceTest, aFailureThatAHandlerDoesNotExpectIsAnsweredWithItsWords) {
    struct Broken final : FileIndex {
        void setFolders(const QStringList&) override {}
        std::unique_ptr<IndexQuery> query(const IndexPredicate&, const QStringList&, qint64) override {
            throw LocalizedError(QStringLiteral("L'index est cassé."));
        }
        IndexStatus status() const override { return {}; }
    } broken;
    world.share(QStringLiteral("/d"));
    BridgeService other({world.http, world.config, world.clock, world.context, nullptr, world.telemetry, world.store,
                         broken, world.bookmarks, world.files, world.types, world.reader, world.photos, world.workspace,
                         world.automations, world.thumbnailer, world.recognizer});
    other.start(SecretText("token"));
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("search", R"({"query":"edf"})"));
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(message(0), QStringLiteral("L'index est cassé."));
    EXPECT_EQ(other.tasksServed(), 1);
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(BridgeServiceTest, aListenerMayStopOrRestartItFromAnySignal) {
    const auto restartOnce = [&, done = false]() mutable {
        if (!std::exchange(done, true))
            start("new");
    };
    QObject::connect(&service, &BridgeService::lastErrorMessageChanged, &service, restartOnce);
    start("old");
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(TransportFault::cutOff);
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(tokenOf(1), "new");
    EXPECT_EQ(service.status(), Status::polling());
    EXPECT_EQ(world.clock.sleeping(), 0U);
    QObject::connect(&service, &BridgeService::lastTaskAtChanged, &service, [&] { service.stop(); });
    world.backend.answerPoll(200, taskJson("list_folders"));
    ASSERT_TRUE(waitUntil([&] { return service.tasksServed() == 1; }));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(world.backend.openPolls(), 0U);
}

TEST_F(BridgeServiceTest, itsEndLeavesNothingRunning) {
    start();
    ASSERT_TRUE(polling(1));
    world.service.reset();
    EXPECT_EQ(world.backend.openPolls(), 0U);
}
