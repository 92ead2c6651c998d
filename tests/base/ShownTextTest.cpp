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

TEST(ShownEnd, isTheEndOfALongOneAndNeverHalfACharacter) {
    EXPECT_EQ(shownEnd(QStringLiteral("été"), 3), QStringLiteral("été"));
    EXPECT_EQ(shownEnd(QStringLiteral("étés"), 3), QStringLiteral("tés"));
    EXPECT_EQ(shownEnd(QStringLiteral("a🔧b"), 2), QStringLiteral("b"));
    EXPECT_EQ(shownEnd(QStringLiteral("a🔧b"), 3), QStringLiteral("🔧b"));
    EXPECT_EQ(shownEnd(QStringLiteral("a"), 0), QString());
}

TEST(DrawableLine, leavesWhatPeopleWriteAlone) {
    for (const char* text :
         {"", "Ça marche : 42 % !", "a\u00a0b\u202fc", "▶︎ ✓ ⚠︎ ███▏",
          "👩‍💻🏴󠁧󠁢󠁥󠁮󠁧󠁿🇫🇷✊🏽", "中文 عربي עברית نمی\u200cشود", "\ue000\ufffd"})
        EXPECT_EQ(drawableLine(QString::fromUtf8(text)), QString::fromUtf8(text));
}

TEST(DrawableLine, hasAMarkForEachCharacterThatCommandsWhatDrawsIt) {
    for (const char32_t c :
         {0x00,   0x07,   0x09,   0x0A,   0x0D,   0x1B,   0x7F,    0x85,    0x9B,    0xAD,    0x061C, 0x200B,
          0x200E, 0x200F, 0x2028, 0x2029, 0x202A, 0x202E, 0x2060,  0x2066,  0x2069,  0x206F,  0xFDD0, 0xFDD1,
          0xFDEF, 0xFEFF, 0xFFF9, 0xFFFC, 0xFFFE, 0xFFFF, 0x1D173, 0x1FFFE, 0xE0001, 0x10FFFF}) {
        QString text = QStringLiteral("ab");
        text.insert(1, QChar::fromUcs4(c));
        EXPECT_EQ(drawableLine(text), QStringLiteral("a\uFFFDb")) << std::hex << static_cast<unsigned>(c);
    }
    const QString halves = QString(QChar(0xDC00)) + u'a' + QChar(0xD83D);
    EXPECT_EQ(drawableLine(halves), QStringLiteral("\uFFFDa\uFFFD"));
}

TEST(DrawableText, keepsItsLinesAndTabs) {
    EXPECT_EQ(drawableText(QStringLiteral("a\r\nb\n\tc\rd\u2029e\u202Ef")),
              QStringLiteral("a\nb\n\tc\uFFFDd\uFFFDe\uFFFDf"));
}
