#include "Bridge/BridgeIDCache.h"

#include <gtest/gtest.h>

using namespace vennic;

namespace {

QString id(int number) { return QString::number(number); }
FileURL file(int number) { return {QStringLiteral("/f/%1").arg(number)}; }

} // namespace

TEST(BridgeIDCache, theThousandAndFirstHandleDrivesOutTheOldest) {
    BridgeIDCache cache;
    for (int number = 0; number < 1000; ++number)
        cache.put(id(number), file(number));
    EXPECT_EQ(cache.get(id(0)), file(0));
    cache.put(id(1000), file(1000));
    EXPECT_EQ(cache.get(id(0)), std::nullopt);
    EXPECT_EQ(cache.get(id(1)), file(1));
    EXPECT_EQ(cache.get(id(1000)), file(1000));
    EXPECT_EQ(cache.size(), 1000);
}

TEST(BridgeIDCache, askingForAHandleDoesNotSaveIt) {
    BridgeIDCache cache(2);
    cache.put(id(1), file(1));
    cache.put(id(2), file(2));
    EXPECT_EQ(cache.get(id(1)), file(1));
    cache.put(id(3), file(3));
    EXPECT_EQ(cache.get(id(1)), std::nullopt);
    EXPECT_EQ(cache.get(id(2)), file(2));
}

TEST(BridgeIDCache, puttingAKnownHandleAgainMakesItTheNewestWithItsNewFile) {
    BridgeIDCache cache(2);
    cache.put(id(1), file(1));
    cache.put(id(2), file(2));
    cache.put(id(1), file(9));
    EXPECT_EQ(cache.size(), 2);
    cache.put(id(3), file(3));
    EXPECT_EQ(cache.get(id(2)), std::nullopt);
    EXPECT_EQ(cache.get(id(1)), file(9));
}

TEST(BridgeIDCache, anUnknownHandleGivesNothing) {
    EXPECT_EQ(BridgeIDCache().get(QStringLiteral("x")), std::nullopt);
    EXPECT_EQ(BridgeIDCache().get({}), std::nullopt);
}

TEST(BridgeIDCache, aHundredThousandHandlesKeepItsSizeAndItsNewestThousand) {
    BridgeIDCache cache;
    for (int number = 0; number < 100'000; ++number)
        cache.put(id(number % 1500), file(number));
    EXPECT_EQ(cache.size(), 1000);
    EXPECT_EQ(cache.get(id(99'999 % 1500)), file(99'999));
    EXPECT_EQ(cache.get(id(98'999 % 1500)), std::nullopt);
    EXPECT_EQ(cache.get(id(99'000 % 1500)), file(99'000));
}
