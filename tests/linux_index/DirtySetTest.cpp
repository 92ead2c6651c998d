#include "linux/index/DirtySet.h"

#include <gtest/gtest.h>

using namespace vennic::index;
using std::chrono::milliseconds;

TEST(DirtySet, givesTheNameSoonAndTheTextWhenAllIsQuiet) {
    DirtySet set;
    const DirtySet::Moment start{};
    set.touch(1, "a", start);
    EXPECT_EQ(set.nextDue(), start + DirtySet::nameDelay);
    EXPECT_TRUE(set.takeNames(start).empty());
    EXPECT_FALSE(set.takeText(start + milliseconds(500)).has_value()); // never before the name
    EXPECT_EQ(set.takeNames(start + DirtySet::nameDelay).size(), 1u);
    EXPECT_EQ(set.nextDue(), start + DirtySet::quiet);
    EXPECT_FALSE(set.takeText(start + milliseconds(299)).has_value());
    EXPECT_EQ(set.takeText(start + milliseconds(300)), DirtySet::Key(1, "a"));
    EXPECT_TRUE(set.empty());
    EXPECT_FALSE(set.nextDue().has_value());
}

TEST(DirtySet, doesNotWaitForEverOnAFileThatKeepsChanging) {
    DirtySet set;
    const DirtySet::Moment start{};
    for (int at = 0; at < 1950; at += 50)
        set.touch(1, "a", start + milliseconds(at));
    set.takeNames(start + milliseconds(2000));
    EXPECT_TRUE(set.takeText(start + milliseconds(2000)).has_value());
}

TEST(DirtySet, looksAtTheNameAgainAfterEachChange) {
    DirtySet set;
    const DirtySet::Moment start{};
    set.touch(1, "a", start);
    set.takeNames(start + milliseconds(50));
    EXPECT_TRUE(set.takeNames(start + milliseconds(60)).empty());
    set.touch(1, "a", start + milliseconds(70));
    EXPECT_EQ(set.takeNames(start + milliseconds(120)).size(), 1u);
    set.drop({1, "a"});
    EXPECT_FALSE(set.contains({1, "a"}));
}
