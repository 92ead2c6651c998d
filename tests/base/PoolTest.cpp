#include "base/Pool.h"

#include "support/Await.h"
#include "support/OneThread.h"

#include <QThreadPool>

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>

using namespace vennic;
using namespace vennic::test;

namespace {

std::atomic<int> waiting = 0;

/// Waits until it is told to stop.
int waitForStop(std::stop_token stop, int result) {
    ++waiting;
    std::mutex lock;
    std::condition_variable_any changed;
    std::unique_lock guard(lock);
    changed.wait(guard, std::move(stop), [] { return false; });
    --waiting;
    return result;
}

Task<> waitFor(int* result) { *result = co_await onPoolWaiting(waitForStop, 7); }

} // namespace

TEST(PoolTest, workThatWaitsGivesItsResultOrItsException) {
    EXPECT_EQ(await(onPoolWaiting(
                  [](const std::stop_token& stop, int a, int b) { return stop.stop_requested() ? 0 : a + b; }, 1, 2)),
              3);
    EXPECT_THROW(await(onPoolWaiting([](const std::stop_token&) { throw std::runtime_error("no"); })),
                 std::runtime_error);
}

TEST(PoolTest, workThatWaitsMayDoWithoutBeingTold) {
    EXPECT_EQ(await(onPoolWaiting([](int a, int b) { return a + b; }, 1, 2)), 3);
    EXPECT_THROW(await(onPoolWaiting([] { throw std::runtime_error("no"); })), std::runtime_error);
}

TEST(PoolTest, workThatWaitsTakesNoPlaceFromOtherWork) {
    const OneThread small;
    int result = 0;
    Scope scope;
    std::vector<Job> jobs;
    for (int i = 0; i < 5; ++i)
        jobs.push_back(scope.start(waitFor(&result)));
    ASSERT_TRUE(waitUntil([] { return waiting == 5; }));
    EXPECT_EQ(await(onPool([] { return 1; })), 1);
    for (Job& job : jobs)
        job.cancel();
    ASSERT_TRUE(waitUntil([&] { return waiting == 0 && scope.size() == 0; }));
    EXPECT_EQ(result, 0); // a cancelled job gets no result
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
}

TEST(PoolTest, workThatWaitsIsToldWhenItsOwnerEnds) {
    int result = 0;
    {
        Scope scope;
        scope.start(waitFor(&result));
        ASSERT_TRUE(waitUntil([] { return waiting == 1; }));
    }
    EXPECT_TRUE(waitUntil([] { return waiting == 0; }));
    EXPECT_EQ(result, 0);
}
