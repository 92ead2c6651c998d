#include "Bridge/BridgeServiceFixture.h"

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;
using Status = BridgeService::Status;

TEST_F(BridgeServiceTest, beginsOffWithNothingToTell) {
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_EQ(service.lastTaskAt(), std::nullopt);
    EXPECT_EQ(service.tasksServed(), 0);
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
}

TEST_F(BridgeServiceTest, pollsWithTheDeviceHeadersAndWaitsTwentyFiveSeconds) {
    start();
    EXPECT_EQ(service.status(), Status::idle());
    ASSERT_TRUE(polling(1));
    EXPECT_EQ(service.status(), Status::polling());
    const HttpRequest& poll = world.backend.polls[0];
    EXPECT_EQ(poll.method, "GET");
    EXPECT_EQ(poll.url.toString(), QStringLiteral("https://vennic.example/api/v1/bridge/tasks/next?wait=25"));
    EXPECT_EQ(poll.timeout, 35s);
    EXPECT_EQ(tokenOf(0), "token");
    EXPECT_EQ(poll.headers, (std::vector<HttpHeader>{
                                {"X-Bridge-Device-Id", "3F2504E0-4F89-41D3-9A0C-0305E82C3301"},
                                {"X-Bridge-Device-Nickname", "Mac de Marie"},
                            }));
}

TEST_F(BridgeServiceTest, headersAreBuiltAnewOnEveryTurnAndAnEmptyNicknameIsSent) {
    world.context.nickname.clear();
    start();
    ASSERT_TRUE(polling(1));
    EXPECT_EQ(world.backend.polls[0].headers[1], (HttpHeader{"X-Bridge-Device-Nickname", ""}));
    world.context.nickname = QStringLiteral("Élise");
    world.heartbeat.record = R"({"v":1})";
    world.backend.answerPoll(204);
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(header(world.backend.polls[1], "X-Bridge-Device-Nickname"), "Élise");
    EXPECT_EQ(header(world.backend.polls[1], "X-Bridge-Heartbeat"), R"({"v":1})");
    EXPECT_EQ(world.backend.polls[1].headers.size(), 3U);
}

TEST_F(BridgeServiceTest, aHeartbeatThatCannotBeBuiltIsLeftOut) {
    start();
    std::size_t polls = 1;
    for (const auto& record :
         {std::optional<QByteArray>(), std::optional<QByteArray>(""), std::optional<QByteArray>("\xff")}) {
        world.heartbeat.record = record;
        ASSERT_TRUE(polling(polls++));
        world.backend.answerPoll(204);
    }
    world.heartbeat.record = "{}";
    world.heartbeat.fails = true;
    ASSERT_TRUE(polling(polls++));
    world.backend.answerPoll(204);
    ASSERT_TRUE(polling(polls));
    for (const HttpRequest& poll : world.backend.polls)
        EXPECT_EQ(poll.headers.size(), 2U);
}

TEST_F(BridgeServiceTest, theAnswerCarriesTheHeadersOfThePollThatFetchedTheTask) {
    world.heartbeat.record = R"({"v":1})";
    world.backend.holdUpdates = true;
    start();
    ASSERT_TRUE(polling(1));
    world.context.nickname = QStringLiteral("Autre");
    world.heartbeat.record = R"({"v":2})";
    world.backend.answerPoll(200, taskJson("search", R"({"query":"edf"})"));
    ASSERT_TRUE(answered(1));
    const HttpRequest& update = world.backend.updates[0].request;
    EXPECT_EQ(update.method, "PATCH");
    EXPECT_EQ(update.url.toString(), QStringLiteral("https://vennic.example/api/v1/bridge/tasks/t1"));
    EXPECT_EQ(update.timeout, 15s);
    EXPECT_EQ(header(update, "Content-Type"), "application/json");
    EXPECT_EQ(header(update, "X-Bridge-Device-Nickname"), "Mac de Marie");
    EXPECT_EQ(header(update, "X-Bridge-Device-Id"), "3F2504E0-4F89-41D3-9A0C-0305E82C3301");
    EXPECT_EQ(header(update, "X-Bridge-Heartbeat"), R"({"v":1})");
}

TEST_F(BridgeServiceTest, anEmptyTokenChangesNothing) {
    start("");
    EXPECT_EQ(service.status(), Status::off());
    start("old");
    ASSERT_TRUE(polling(1));
    start("");
    EXPECT_EQ(service.status(), Status::polling());
    world.backend.answerPoll(204);
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(tokenOf(1), "old");
}

TEST_F(BridgeServiceTest, theSameTokenTwiceMakesOneLoop) {
    start();
    start();
    ASSERT_TRUE(polling(1));
    start();
    EXPECT_EQ(service.status(), Status::polling());
    EXPECT_FALSE(waitUntil([&] { return world.backend.polls.size() > 1; }, 30ms));
}

TEST_F(BridgeServiceTest, anotherTokenReplacesTheLoop) {
    start("old");
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(TransportFault::cutOff);
    ASSERT_TRUE(sleeping());
    start("new");
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(tokenOf(1), "new");
    EXPECT_EQ(world.clock.sleeping(), 0U);
    EXPECT_EQ(service.status(), Status::polling());
    world.backend.answerPoll(TransportFault::cutOff);
    ASSERT_TRUE(sleeping());
    EXPECT_EQ(world.clock.asked, (std::vector<std::chrono::nanoseconds>{1s, 1s})); // it counts from the start again
    EXPECT_EQ(seen, (std::vector<Status>{Status::idle(), Status::polling(),
                                         Status::error(QStringLiteral("La connexion au serveur a été coupée.")),
                                         Status::off(), Status::idle(), Status::polling(),
                                         Status::error(QStringLiteral("La connexion au serveur a été coupée."))}));
}

TEST_F(BridgeServiceTest, aLoopReplacedDuringItsPollLeavesThePollAndSaysNothing) {
    start("old");
    ASSERT_TRUE(polling(1));
    start("new");
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(tokenOf(1), "new");
    EXPECT_EQ(world.backend.mostOpen, 1U);
    EXPECT_EQ(service.status(), Status::polling());
}

TEST_F(BridgeServiceTest, failuresWaitLongerAndLongerUpToThirtySeconds) {
    start();
    const std::vector<std::chrono::seconds> delays{1s, 2s, 4s, 8s, 16s, 30s, 30s, 30s};
    for (std::size_t turn = 0; turn < delays.size(); ++turn) {
        ASSERT_TRUE(polling(turn + 1));
        world.backend.answerPoll(503, "occupé");
        ASSERT_TRUE(sleeping());
        EXPECT_EQ(service.status(), Status::error(QStringLiteral("Erreur HTTP 503 : occupé")));
        EXPECT_EQ(service.lastErrorMessage(), QStringLiteral("Erreur HTTP 503 : occupé"));
        world.clock.advance(delays[turn] - 1ms);
        EXPECT_FALSE(waitUntil([&] { return world.backend.openPolls() == 1; }, 10ms));
        world.clock.advance(1ms);
    }
    ASSERT_TRUE(polling(delays.size() + 1));
    EXPECT_EQ(world.clock.asked, std::vector<std::chrono::nanoseconds>(delays.begin(), delays.end()));
    EXPECT_TRUE(service.lastErrorMessage().has_value()); // it outlives the error status
    EXPECT_EQ(service.status(), Status::polling());
}

TEST_F(BridgeServiceTest, aNoContentATimeoutOrATaskBringsTheNextFailureBackToOneSecond) {
    start();
    std::size_t polls = 0;
    const auto fail = [&] {
        ASSERT_TRUE(polling(++polls));
        world.backend.answerPoll(TransportFault::refused);
        ASSERT_TRUE(sleeping());
        world.clock.advance(30s);
    };
    const std::vector<BackendDouble::Outcome> remedies{
        HttpResponse{.status = 204, .headers = {}, .body = {}}, TransportFault::timedOut,
        HttpResponse{.status = 200, .headers = {}, .body = taskJson("list_folders")}};
    for (const auto& remedy : remedies) {
        fail();
        fail();
        ASSERT_TRUE(polling(++polls));
        EXPECT_TRUE(service.lastErrorMessage().has_value());
        world.backend.answerPoll(remedy);
        ASSERT_TRUE(polling(polls + 1));
        EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
    }
    fail();
    EXPECT_EQ(world.clock.asked, (std::vector<std::chrono::nanoseconds>{1s, 2s, 1s, 2s, 1s, 2s, 1s}));
}

TEST_F(BridgeServiceTest, aNoContentStaysPollingAndATimeoutShowsIdle) {
    start();
    ASSERT_TRUE(polling(1));
    seen.clear();
    world.backend.answerPoll(204);
    ASSERT_TRUE(polling(2));
    EXPECT_TRUE(seen.empty());
    world.backend.answerPoll(TransportFault::timedOut);
    ASSERT_TRUE(polling(3));
    EXPECT_EQ(seen, (std::vector<Status>{Status::idle(), Status::polling()}));
    EXPECT_TRUE(world.clock.asked.empty());
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
}

TEST_F(BridgeServiceTest, onlyATimeoutOfTheTransportIsExpected) {
    start();
    std::size_t polls = 0;
    const std::vector<BackendDouble::Outcome> failures{TransportFault::noNetwork,
                                                       TransportFault::nameNotFound,
                                                       TransportFault::refused,
                                                       TransportFault::tlsRefused,
                                                       TransportFault::cutOff,
                                                       TransportFault::tooLarge,
                                                       TransportFault::badAnswer,
                                                       TransportFault::badRequest,
                                                       TransportFault::cancelled,
                                                       HttpResponse{},
                                                       HttpResponse{.status = 500, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 504, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 408, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 401, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 403, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 304, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 302, .headers = {}, .body = {}},
                                                       HttpResponse{.status = 200, .headers = {}, .body = {}}};
    for (const auto& failure : failures) {
        ASSERT_TRUE(polling(++polls));
        world.backend.answerPoll(failure);
        ASSERT_TRUE(sleeping()) << polls;
        EXPECT_EQ(service.status(), Status::error(*service.lastErrorMessage()));
        EXPECT_FALSE(service.lastErrorMessage()->isEmpty());
        world.clock.advance(30s);
    }
    EXPECT_EQ(world.clock.asked.size(), failures.size());
    EXPECT_TRUE(world.backend.updates.empty());
}

TEST_F(BridgeServiceTest, aTaskMakesItBusyThenIdleAndCounts) {
    world.share(QStringLiteral("/d"));
    world.backend.holdUpdates = true;
    start();
    ASSERT_TRUE(polling(1));
    seen.clear();
    int tasks = 0;
    QObject::connect(&service, &BridgeService::tasksServedChanged, &service, [&] { ++tasks; });
    world.backend.answerPoll(200, taskJson("search", R"({"query":"edf"})"));
    ASSERT_TRUE(waitUntil([&] { return world.backend.openUpdates() == 1; }));
    EXPECT_EQ(service.status(), Status::busy(BridgeTaskKind::search));
    EXPECT_EQ(service.lastTaskAt(), world.clock.now());
    EXPECT_EQ(service.tasksServed(), 0);
    EXPECT_EQ(world.backend.polls.size(), 1U); // tasks never overlap
    world.backend.answerUpdate(HttpResponse{.status = 200, .headers = {}, .body = {}});
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(service.tasksServed(), 1);
    EXPECT_EQ(tasks, 1);
    EXPECT_EQ(seen, (std::vector<Status>{Status::busy(BridgeTaskKind::search), Status::idle(), Status::polling()}));
}

TEST_F(BridgeServiceTest, aSearchThenAReadOfItsHandle) {
    world.share(QStringLiteral("/d"));
    world.files->addFile(QStringLiteral("/d/edf.txt"), 3);
    world.reader->documents[QStringLiteral("/d/edf.txt")] = QStringLiteral("Bonjour");
    IndexItem item;
    item.path = QStringLiteral("/d/edf.txt");
    world.index.answers.push_back({{item}});
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("search", R"({"query":"edf"})"));
    ASSERT_TRUE(polling(2));
    const QString handle = world.backend.updates[0]
                               .body[QLatin1String("result")][QLatin1String("items")][0][QLatin1String("id")]
                               .toString();
    EXPECT_EQ(service.idCache().get(handle), FileURL{QStringLiteral("/d/edf.txt")});
    service.stop(); // a handle outlives the loop
    start("other");
    ASSERT_TRUE(polling(3));
    world.backend.answerPoll(200, taskJson("read", R"({"document_id":")" + handle.toLatin1() + "\"}", "t2"));
    ASSERT_TRUE(polling(4));
    EXPECT_EQ(world.backend.updates[1].path, QStringLiteral("/api/v1/bridge/tasks/t2"));
    EXPECT_EQ(world.backend.updates[1].body[QLatin1String("result")][QLatin1String("content")].toString(),
              QStringLiteral("Bonjour"));
    EXPECT_EQ(service.tasksServed(), 2);
}

TEST_F(BridgeServiceTest, withTheSwitchOffTasksAreRefusedAndStillCount) {
    world.context.enabled = false;
    start();
    std::size_t polls = 0;
    for (const char* kind : {"search", "read", "list_folders", "photos_recent", "shortcut_list"}) {
        ASSERT_TRUE(polling(++polls));
        world.backend.answerPoll(200, taskJson(kind, R"({"query":"edf","document_id":"x"})"));
        ASSERT_TRUE(polling(polls + 1));
        EXPECT_EQ(message(polls - 1), QStringLiteral("Le pont local est désactivé dans les Réglages du Mac."));
    }
    EXPECT_EQ(service.tasksServed(), 5);
    EXPECT_EQ(service.lastTaskAt(), world.clock.now());
}

TEST_F(BridgeServiceTest, localInferenceIsLetThroughWithTheSwitchOff) {
    world.context.enabled = false;
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("llm_infer", R"({"openai_body_json":"{}"})"));
    ASSERT_TRUE(answered(1));
    EXPECT_EQ(message(0), QStringLiteral("Serveur local injoignable : Le serveur a refusé la connexion."));
    EXPECT_EQ(world.backend.opened.size(), 1u);
}

TEST_F(BridgeServiceTest, theSwitchIsReadWhenATaskIsHandled) {
    start();
    ASSERT_TRUE(polling(1));
    world.context.enabled = false;
    world.backend.answerPoll(200, taskJson("list_folders"));
    ASSERT_TRUE(polling(2));
    world.context.enabled = true;
    world.backend.answerPoll(200, taskJson("list_folders"));
    ASSERT_TRUE(polling(3));
    EXPECT_EQ(message(0), QStringLiteral("Le pont local est désactivé dans les Réglages du Mac."));
    EXPECT_EQ(world.backend.updates[1].body[QLatin1String("status")].toString(), QStringLiteral("done"));
}

TEST_F(BridgeServiceTest, aRefusalThatCannotBeSentIsDropped) {
    world.context.enabled = false;
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("search", R"({"query":"edf"})"));
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
    EXPECT_EQ(service.tasksServed(), 1);
    EXPECT_EQ(world.backend.updates.size(), 1U);
}

TEST_F(BridgeServiceTest, aSuccessThatCannotBeSentShowsItsErrorAndNotAsStatus) {
    world.share(QStringLiteral("/d"));
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    start();
    ASSERT_TRUE(polling(1));
    world.backend.answerPoll(200, taskJson("search", R"({"query":"edf"})"));
    ASSERT_TRUE(polling(2));
    EXPECT_EQ(service.lastErrorMessage(), QStringLiteral("La connexion au serveur a été coupée."));
    EXPECT_EQ(service.status(), Status::polling());
    EXPECT_TRUE(world.clock.sleeping() == 0);
    EXPECT_EQ(world.backend.updates.size(), 1U); // never twice
}

TEST_F(BridgeServiceTest, aTaskThatCannotBeReadIsNotAnsweredAndBacksOff) {
    start();
    std::size_t polls = 0;
    for (const QByteArray& body :
         {taskJson("fly"), QByteArray(R"({"id":"t1","kind":"search"})"), QByteArray(R"({"kind":"list_folders"})"),
          QByteArray("<html>"), taskJson("search", R"({"query":"a","limit":1.5})")}) {
        ASSERT_TRUE(polling(++polls));
        world.backend.answerPoll(200, body);
        ASSERT_TRUE(sleeping());
        EXPECT_EQ(service.status().state, Status::State::error);
        world.clock.advance(30s);
    }
    EXPECT_TRUE(world.backend.updates.empty());
    EXPECT_EQ(service.tasksServed(), 0);
    EXPECT_EQ(service.lastTaskAt(), std::nullopt);
}
