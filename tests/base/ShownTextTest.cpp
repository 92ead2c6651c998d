#include "base/ShownText.h"

#include <gtest/gtest.h>

using namespace vennic;

TEST(ShownText, isTheWholeOfAShortText) {
    EXPECT_EQ(shownText(QStringLiteral("été"), 3), QStringLiteral("été"));
    EXPECT_EQ(shownText({}, 0), QString());
}

TEST(ShownText, isTheBeginningOfALongOneAndNeverHalfACharacter) {
    EXPECT_EQ(shownText(QStringLiteral("étés"), 3), QStringLiteral("été…"));
    EXPECT_EQ(shownText(QStringLiteral("a🔧b"), 2), QStringLiteral("a…"));
    EXPECT_EQ(shownText(QStringLiteral("a🔧b"), 3), QStringLiteral("a🔧…"));
    EXPECT_EQ(shownText(QStringLiteral("a"), 0), QStringLiteral("…"));
    EXPECT_EQ(shownReason(QString(1'000'000, u'x')).size(), 1001);
    EXPECT_EQ(shownTitle(QString(1'000'000, u'x')).size(), 201);
}
