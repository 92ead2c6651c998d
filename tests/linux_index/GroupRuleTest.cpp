#include "linux/index/GroupRule.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using namespace vennic::index;

namespace {

std::vector<std::vector<int>> subsets(int n, int size) {
    std::vector<std::vector<int>> result;
    for (unsigned mask = 0; mask < 1u << n; ++mask) {
        if (std::popcount(mask) != size)
            continue;
        std::vector<int> group;
        for (int i = 0; i < n; ++i) {
            if (mask >> i & 1)
                group.push_back(i);
        }
        result.push_back(group);
    }
    return result;
}

void compareWithTheDefinition(int n, const std::vector<std::vector<int>>& groups, std::mt19937& random) {
    const GroupRule rule(static_cast<std::size_t>(n), groups);
    std::vector<Bitmap> bits(static_cast<std::size_t>(n), Bitmap(130));
    std::vector<const Bitmap*> patterns;
    for (Bitmap& each : bits) {
        for (std::size_t i = 0; i < 130; ++i) {
            if (random() % 2)
                each.set(i);
        }
        patterns.push_back(&each);
    }
    const Bitmap result = rule.combine(patterns, 130);
    for (std::size_t i = 0; i < 130; ++i) {
        std::vector<bool> matches;
        for (const Bitmap& each : bits)
            matches.push_back(each.test(i));
        const bool expected = std::ranges::any_of(groups, [&](const std::vector<int>& group) {
            return std::ranges::all_of(group, [&](int at) { return matches[static_cast<std::size_t>(at)]; });
        });
        ASSERT_EQ(result.test(i), expected);
        ASSERT_EQ(rule.holds(matches), expected);
    }
}

} // namespace

TEST(GroupRule, meansAllPatternsOfOneGroup) {
    std::mt19937 random(5);
    for (int n = 1; n <= 6; ++n) {
        for (int size = 1; size <= n; ++size) {
            compareWithTheDefinition(n, subsets(n, size), random);
            auto some = subsets(n, size);
            some.pop_back();
            compareWithTheDefinition(n, some, random);
        }
    }
    compareWithTheDefinition(3, {{0}, {1, 2}}, random);
    compareWithTheDefinition(2, {}, random);
}

TEST(GroupRule, countsInsteadOfTryingAllSubsets) {
    const int n = 200;
    std::vector<std::vector<int>> groups;
    for (int leftOut = 0; leftOut < n; ++leftOut) {
        std::vector<int> group;
        for (int i = 0; i < n; ++i) {
            if (i != leftOut)
                group.push_back(i);
        }
        groups.push_back(group);
    }
    const GroupRule rule(n, groups);
    std::vector<Bitmap> bits(n, Bitmap(1));
    std::vector<const Bitmap*> patterns;
    for (Bitmap& each : bits) {
        patterns.push_back(&each);
        if (patterns.size() != 7)
            each.set(0);
    }
    EXPECT_TRUE(rule.combine(patterns, 1).test(0));
    bits[100] = Bitmap(1);
    EXPECT_FALSE(rule.combine(patterns, 1).test(0));
}

TEST(GroupRule, dropsGroupsThatNameNoPattern) {
    EXPECT_TRUE(GroupRule(2, {{5}, {-1, 0}}).never());
    EXPECT_TRUE(GroupRule(2, {}).never());
    EXPECT_FALSE(GroupRule(2, {{0}}).never());
}
