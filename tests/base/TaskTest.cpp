#include "base/Task.h"

#include "base/Clock.h"
#include "base/NextTurn.h"
#include "base/Pool.h"
#include "support/Await.h"
#include "support/TestClock.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <stdexcept>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

struct Probe {
    int* live;
    explicit Probe(int* counter) : live(counter) { ++*live; }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    ~Probe() { --*live; }
};

Task<> waitForever(int* live, bool* cancelled) {
    const Probe probe(live);
    Event<> never;
    try {
        co_await never;
    } catch (const Cancelled&) {
        *cancelled = true;
        throw;
    }
}

Task<int> one() { co_return 1; }

Task<int> sumOfOnes(int count) {
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += co_await one();
    co_return sum;
}

Task<int> onPoolThrows() {
    co_return co_await onPool([]() -> int { throw std::runtime_error("boom"); });
}

} // namespace

TEST(Task, aHundredThousandAwaitsWithoutWaitingDontGrowTheStack) {
    EXPECT_EQ(test::await(sumOfOnes(100'000)), 100'000);
}

TEST(Task, aCancelledJobThrowsAtItsWaitAndEnds) {
    int live = 0;
    bool cancelled = false;
    Scope scope;
    Job job = scope.start(waitForever(&live, &cancelled));
    ASSERT_TRUE(test::waitUntil([&] { return live == 1; }));
    job.cancel();
    ASSERT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(live, 0);
}

TEST(Task, theEndOfItsScopeDestroysAWaitingJobWithoutResumingIt) {
    int live = 0;
    bool cancelled = false;
    {
        Scope scope;
        scope.start(waitForever(&live, &cancelled));
        ASSERT_TRUE(test::waitUntil([&] { return live == 1; }));
    }
    EXPECT_EQ(live, 0);
    EXPECT_FALSE(cancelled);
}

TEST(Task, anExceptionOnThePoolReachesTheWaiter) { EXPECT_THROW(test::await(onPoolThrows()), std::runtime_error); }

TEST(Task, aValueFromThePoolReachesTheWaiterOnTheMainThread) {
    EXPECT_EQ(test::await(onPool([](int a, int b) { return a + b; }, 2, 3)), 5);
}

Task<> takeTurns(int turns, std::string* order, std::string name) {
    for (int turn = 0; turn < turns; ++turn) {
        *order += name;
        co_await NextTurn{};
    }
    *order += ".";
}

TEST(NextTurn, jobsThatGiveWayTakeTurns) {
    std::string order;
    Scope scope;
    scope.start(takeTurns(3, &order, "a"));
    scope.start(takeTurns(3, &order, "b"));
    ASSERT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
    EXPECT_EQ(order, "ababab..");
}

TEST(NextTurn, aCancelledJobEndsThere) {
    std::string order;
    Scope scope;
    Job job = scope.start(takeTurns(1'000'000, &order, "a"));
    ASSERT_TRUE(test::waitUntil([&] { return !order.empty(); }));
    job.cancel();
    ASSERT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
    EXPECT_EQ(order.find('.'), std::string::npos);
}

TEST(NextTurn, theEndOfItsScopeDropsWhoGaveWay) {
    std::string order;
    {
        Scope scope;
        scope.start(takeTurns(1'000'000, &order, "a"));
        ASSERT_TRUE(test::waitUntil([&] { return !order.empty(); }));
    }
    const std::string before = order;
    QCoreApplication::processEvents();
    EXPECT_EQ(order, before);
}

TEST(Event, onlyTheFirstResultCounts) {
    Event<int> event;
    event.set(1);
    event.set(2);
    event.fail(std::make_exception_ptr(std::runtime_error("late")));
    auto read = [](Event<int>* e) -> Task<int> { co_return co_await *e; };
    EXPECT_EQ(test::await(read(&event)), 1);
}

TEST(TestClock, wakesOnlyWhoSleptLongEnough) {
    test::TestClock clock;
    Scope scope;
    scope.start(clock.sleep(1s));
    scope.start(clock.sleep(3s));
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 2; }));
    clock.advance(2s);
    ASSERT_TRUE(test::waitUntil([&] { return scope.size() == 1; }));
    clock.advance(1s);
    ASSERT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
}

TEST(SystemClock, sleepEndsByItself) {
    SystemClock clock;
    test::await(clock.sleep(1ms));
}
