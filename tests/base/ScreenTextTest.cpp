#include "base/ScreenText.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

TEST(ScreenText, whatFitsStaysAsItIs) {
    for (const qsizetype size : {0, 1, 999, 1000}) {
        const QString text(size, u'é');
        EXPECT_EQ(forScreen(text), text);
    }
}

TEST(ScreenText, whatIsLongerEndsInAnEllipsis) {
    EXPECT_EQ(forScreen(QString(1001, u'é')), QString(1000, u'é') + u'…');
    EXPECT_EQ(forScreen(QString(16 * 1024 * 1024, u'x')), QString(1000, u'x') + u'…');
}

TEST(ScreenText, noCharacterIsCutInTwo) {
    const QString text = QString(999, u'x') + QString::fromUtf8("😀😀");
    EXPECT_EQ(forScreen(text), QString(999, u'x') + u'…');
}

} // namespace
} // namespace vennic
