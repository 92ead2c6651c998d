#include "server/TaskDesk.h"

#include "server/Accounts.h"
#include "server/Database.h"
#include "server/HttpError.h"
#include "server/Schema.h"
#include "server/TurnedTime.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
struct TaskDeskTest : ::testing::Test {
    TaskDeskTest() {
        prepareSchema(database);
        Accounts(database).ensureOwner(QStringLiteral("a@b"));
        desk = std::make_unique<TaskDesk>(store, time, 60s);
    }
    struct Ended {
        int count = 0;
        PollEnd end;
    };
    std::shared_ptr<Ended> poll(const DeviceKey& key, qint64 token = 7) {
        auto ended = std::make_shared<Ended>();
        lastPoll = desk->poll(key, token, 25s, [ended](PollEnd end) {
            ++ended->count;
            ended->end = std::move(end);
        });
        return ended;
    }
    QString submit(const char* kind, const DeviceKey& key) {
        return desk->submit(key, QString::fromLatin1(kind), "{}").id;
    }
    TaskRecord task(const QString& id) { return store.find(id).value(); }
    int refusal(const std::function<void()>& act) {
        try {
            act();
        } catch (const HttpError& error) {
            return error.status;
        }
        return 0;
    }
    const DeviceKey first{1, QStringLiteral("A")};
    const DeviceKey second{1, QStringLiteral("B")};
    TurnedTime time;
    Database database{QStringLiteral(":memory:")};
    TaskStore store{database};
    std::unique_ptr<TaskDesk> desk;
    quint64 lastPoll = 0;
};
} // namespace

TEST_F(TaskDeskTest, aWaitingPollGetsTheTaskAtOnce) {
    const auto ended = poll(first);
    const QString id = submit("search", first);
    ASSERT_EQ(ended->count, 1);
    EXPECT_EQ(ended->end.why, PollEnd::Why::Task);
    EXPECT_EQ(ended->end.task.id, id);
    EXPECT_EQ(task(id).state, TaskState::Delivered);
    EXPECT_FALSE(desk->isPolling(first));
}

TEST_F(TaskDeskTest, tasksComeOldestFirstAndOneAtATime) {
    const QString one = submit("search", first);
    const QString two = submit("read", first);
    EXPECT_EQ(poll(first)->end.task.id, one);
    EXPECT_EQ(task(two).state, TaskState::Queued);
    desk->succeeded(first, one, "{}", time.elapsed());
    EXPECT_EQ(poll(first)->end.task.id, two);
}

TEST_F(TaskDeskTest, aPollEndsWithNothingWhenItsTimeIsUp) {
    const auto ended = poll(first);
    time.advance(24s);
    EXPECT_EQ(ended->count, 0);
    time.advance(1s);
    ASSERT_EQ(ended->count, 1);
    EXPECT_EQ(ended->end.why, PollEnd::Why::Nothing);
}

TEST_F(TaskDeskTest, aNewerPollOfTheSameMachineEndsTheOlderOne) {
    const auto older = poll(first);
    const auto other = poll(second);
    const auto newer = poll(first);
    EXPECT_EQ(older->count, 1);
    EXPECT_EQ(older->end.why, PollEnd::Why::Nothing);
    EXPECT_EQ(other->count, 0);
    const QString id = submit("read", first);
    EXPECT_EQ(newer->end.task.id, id);
    EXPECT_EQ(older->count, 1);
}

TEST_F(TaskDeskTest, anAbandonedPollLosesNoTask) {
    const auto gone = poll(first);
    desk->abandon(lastPoll);
    const QString id = submit("app_open", first);
    EXPECT_EQ(gone->count, 0);
    EXPECT_EQ(task(id).state, TaskState::Queued);
    EXPECT_EQ(poll(first)->end.task.id, id);
}

TEST_F(TaskDeskTest, abandoningAnOldPollLeavesTheNewOne) {
    poll(first);
    const quint64 old = lastPoll;
    const auto newer = poll(first);
    desk->abandon(old);
    const QString id = submit("read", first);
    EXPECT_EQ(newer->end.task.id, id);
}

TEST_F(TaskDeskTest, aTaskWhoseBodyCouldNotBeWrittenIsDeliveredAgain) {
    const QString id = submit("app_open", first);
    poll(first)->end.written(false);
    EXPECT_EQ(task(id).state, TaskState::Queued);
    EXPECT_EQ(task(id).deliveries, 0);
    const auto again = poll(first);
    EXPECT_EQ(again->end.task.id, id);
    again->end.written(true);
    desk->succeeded(first, id, "{}", time.elapsed());
    EXPECT_EQ(task(id).state, TaskState::Done);
}

TEST_F(TaskDeskTest, aFailedWriteGoesToTheNextPollThatWaitsAlready) {
    const QString id = submit("app_open", first);
    const auto failing = poll(second);
    const auto broken = poll(first);
    desk->abandon(lastPoll);
    broken->end.written(false);
    EXPECT_EQ(failing->count, 0);
    EXPECT_EQ(poll(first)->end.task.id, id);
}

TEST_F(TaskDeskTest, aRepeatableTaskWithoutAnswerIsDeliveredOnceMoreAndThenTimesOut) {
    const QString id = submit("search", first);
    poll(first)->end.written(true);
    const auto again = poll(first);
    ASSERT_EQ(again->count, 1);
    EXPECT_EQ(again->end.task.id, id);
    again->end.written(true);
    const auto third = poll(first);
    EXPECT_EQ(third->count, 0);
    EXPECT_EQ(task(id).state, TaskState::Timeout);
    EXPECT_EQ(task(id).errorMessage,
              QStringLiteral("La machine a demandé la tâche suivante sans répondre à celle-ci."));
}

TEST_F(TaskDeskTest, aTaskThatMayHaveHadItsEffectIsNotDeliveredAgain) {
    for (const char* kind : {"app_open", "shortcut_run", "open_document", "llm_infer"}) {
        const QString id = submit(kind, first);
        poll(first)->end.written(true);
        EXPECT_EQ(poll(first)->count, 0) << kind;
        EXPECT_EQ(task(id).state, TaskState::Timeout) << kind;
    }
}

TEST_F(TaskDeskTest, anUnansweredTaskTimesOut) {
    const QString id = submit("read", first);
    poll(first)->end.written(true);
    time.advance(59s);
    EXPECT_EQ(task(id).state, TaskState::Delivered);
    time.advance(1s);
    EXPECT_EQ(task(id).state, TaskState::Timeout);
    EXPECT_EQ(task(id).errorMessage, QStringLiteral("La machine n'a pas répondu à temps."));
    EXPECT_EQ(refusal([&] { desk->succeeded(first, id, "{}", time.elapsed()); }), 409);
}

TEST_F(TaskDeskTest, aSlowKindOfTaskIsWaitedForTenTimesAsLongAlsoByANewProcess) {
    for (const char* kind : {"ocr_image", "photos_recent", "photos_by_date", "shortcut_run", "llm_infer"}) {
        const QString id = submit(kind, first);
        poll(first)->end.written(true);
        time.advance(300s);
        desk = std::make_unique<TaskDesk>(store, time, 60s);
        time.advance(299s);
        EXPECT_EQ(task(id).state, TaskState::Delivered) << kind;
        time.advance(1s);
        EXPECT_EQ(task(id).state, TaskState::Timeout) << kind;
    }
}

TEST_F(TaskDeskTest, aQueuedTaskNeverTimesOut) {
    const QString id = submit("read", first);
    time.advance(24h);
    EXPECT_EQ(task(id).state, TaskState::Queued);
}

TEST_F(TaskDeskTest, eachStreamedPieceRenewsThePatience) {
    const QString id = submit("llm_infer", first);
    poll(first)->end.written(true);
    time.advance(50s);
    desk->streamed(first, id, QStringLiteral("Bon"));
    time.advance(50s);
    desk->streamed(first, id, QStringLiteral("jour"));
    EXPECT_EQ(task(id).state, TaskState::Streaming);
    EXPECT_EQ(store.deltas(task(id)), (QStringList{QStringLiteral("Bon"), QStringLiteral("jour")}));
    time.advance(60s);
    EXPECT_EQ(task(id).state, TaskState::Timeout);
}

TEST_F(TaskDeskTest, aPieceForATaskThatIsBackInTheQueueIsRefusedAndTheTaskGoesOutAgain) {
    const QString id = submit("search", first);
    poll(first)->end.written(true);
    poll(first)->end.written(false); // delivered again, and that one never left
    ASSERT_EQ(task(id).state, TaskState::Queued);
    ASSERT_EQ(task(id).deliveries, 1);
    EXPECT_EQ(refusal([&] { desk->streamed(first, id, QStringLiteral("la fin")); }), 409);
    EXPECT_EQ(task(id).state, TaskState::Queued);
    const auto again = poll(first);
    EXPECT_EQ(again->end.task.id, id);
    again->end.written(true);
    time.advance(60s);
    EXPECT_EQ(task(id).state, TaskState::Timeout);
}

TEST_F(TaskDeskTest, aStreamHoldsSixteenMebibytesAndStillEnds) {
    const QString id = submit("llm_infer", first);
    poll(first)->end.written(true);
    const QString piece(4 * 1024 * 1024, u'a');
    for (int i = 0; i < 4; ++i)
        desk->streamed(first, id, piece);
    EXPECT_EQ(refusal([&] { desk->streamed(first, id, QStringLiteral("b")); }), 413);
    desk->failed(first, id, QStringLiteral("trop long"), time.elapsed());
    EXPECT_EQ(task(id).state, TaskState::Error);
    EXPECT_EQ(task(id).errorMessage, QStringLiteral("trop long"));
}

TEST_F(TaskDeskTest, refusesAnswersThatDoNotFit) {
    const QString id = submit("read", first);
    EXPECT_EQ(refusal([&] { desk->succeeded(first, id, "{}", time.elapsed()); }), 409);
    poll(first)->end.written(true);
    EXPECT_EQ(refusal([&] { desk->succeeded(second, id, "{}", time.elapsed()); }), 403);
    EXPECT_EQ(refusal([&] { desk->succeeded({2, first.device}, id, "{}", time.elapsed()); }), 404);
    EXPECT_EQ(refusal([&] { desk->succeeded(first, QStringLiteral("nope"), "{}", time.elapsed()); }), 404);
    desk->succeeded(first, id, R"({"content":"x"})", time.elapsed());
    EXPECT_EQ(refusal([&] { desk->failed(first, id, QStringLiteral("y"), time.elapsed()); }), 409);
    EXPECT_EQ(task(id).result, R"({"content":"x"})");
}

TEST_F(TaskDeskTest, measuresFromTheLastByteSentToTheArrivalOfTheAnswer) {
    const QString id = submit("read", first);
    const auto ended = poll(first);
    time.advance(30ms);
    ended->end.written(true);
    time.advance(1500us);
    const auto arrived = time.elapsed();
    time.advance(20ms);
    desk->succeeded(first, id, "{}", arrived);
    EXPECT_DOUBLE_EQ(task(id).handledMs.value(), 1.5);
}

TEST_F(TaskDeskTest, aNewProcessKeepsTheQueueAndTheRunningPatience) {
    const QString delivered = submit("app_open", first);
    const QString queued = submit("read", first);
    poll(first)->end.written(true);
    time.advance(40s);
    desk = std::make_unique<TaskDesk>(store, time, 60s);
    EXPECT_EQ(task(delivered).state, TaskState::Delivered);
    EXPECT_EQ(task(queued).state, TaskState::Queued);
    desk->succeeded(first, delivered, "{}", time.elapsed());
    EXPECT_EQ(task(delivered).state, TaskState::Done);
    EXPECT_EQ(poll(first)->end.task.id, queued);
    desk = std::make_unique<TaskDesk>(store, time, 60s);
    time.advance(60s);
    EXPECT_EQ(task(queued).state, TaskState::Timeout);
}

TEST_F(TaskDeskTest, aDismissedMachineLosesItsPollAndItsTasks) {
    const QString id = submit("read", first);
    const QString other = submit("read", second);
    poll(first)->end.written(true);
    const QString queued = submit("read", first);
    desk->dismiss(first);
    EXPECT_EQ(task(id).state, TaskState::Error);
    EXPECT_EQ(task(queued).state, TaskState::Error);
    EXPECT_EQ(task(other).state, TaskState::Queued);
    const auto polling = poll(first);
    desk->dismiss(first);
    EXPECT_EQ(polling->end.why, PollEnd::Why::Revoked);
}

TEST_F(TaskDeskTest, endsThePollsOfOneToken) {
    const auto mine = poll(first, 7);
    const auto other = poll(second, 8);
    desk->endPolls(7);
    EXPECT_EQ(mine->end.why, PollEnd::Why::Revoked);
    EXPECT_EQ(mine->count, 1);
    EXPECT_EQ(other->count, 0);
}

TEST_F(TaskDeskTest, watchersHearOfDeltasAndStatesUntilTheyGo) {
    const QString id = submit("llm_infer", first);
    QStringList heard;
    auto watch =
        desk->watch(id, [&heard](const QString* delta) { heard.append(delta ? *delta : QStringLiteral("·")); });
    poll(first)->end.written(true);
    desk->streamed(first, id, QStringLiteral("a"));
    EXPECT_EQ(heard, (QStringList{QStringLiteral("·"), QStringLiteral("a")}));
    watch.reset();
    desk->succeeded(first, id, "{}", time.elapsed());
    EXPECT_EQ(heard.size(), 2);
}

TEST_F(TaskDeskTest, oneMachineHasAtMostAThousandTasksWaiting) {
    for (int i = 0; i < 1000; ++i)
        submit("read", first);
    EXPECT_EQ(refusal([&] { submit("read", first); }), 429);
    EXPECT_EQ(refusal([&] { submit("read", second); }), 0);
}

TEST_F(TaskDeskTest, theHistoryForgetsTheOldestPastItsCeilings) {
    QStringList ids;
    for (int i = 0; i < 6; ++i) {
        ids.append(submit("read", first));
        poll(first)->end.written(true);
        desk->succeeded(first, ids.last(), QByteArray("{\"content\":\"") + QByteArray(1000, 'x') + "\"}",
                        time.elapsed());
    }
    const QString queued = submit("read", first);
    store.prune(1, 4, 1'000'000);
    EXPECT_FALSE(store.find(ids.at(1)));
    EXPECT_TRUE(store.find(ids.at(2)));
    store.prune(1, 4, 2'500);
    EXPECT_FALSE(store.find(ids.at(3)));
    EXPECT_TRUE(store.find(ids.at(4)));
    store.prune(1, 4, 1);
    EXPECT_TRUE(store.find(ids.at(5)));
    EXPECT_TRUE(store.find(queued));
}

TEST_F(TaskDeskTest, largeAnswersDoNotWaitForTheHistoryToBeTrimmed) {
    QStringList ids;
    for (int i = 0; i < 5; ++i) {
        ids.append(submit("list_dir", first));
        poll(first)->end.written(true);
        desk->succeeded(first, ids.last(), QByteArray(60 * 1024 * 1024, 'x'), time.elapsed());
    }
    EXPECT_FALSE(store.find(ids.first())); // 300 MiB are more than a history may hold
    EXPECT_TRUE(store.find(ids.at(1)));
}

} // namespace vennic::server::test
