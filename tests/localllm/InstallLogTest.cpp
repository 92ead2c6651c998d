#include "localllm/InstallLog.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

InstallLog logOf(const QStringList& lines) {
    InstallLog log;
    for (const QString& line : lines)
        log.append(line);
    return log;
}

TEST(InstallLog, keepsTheLastTwoHundredLinesAsTheyCame) {
    InstallLog log;
    for (int i = 0; i < 200; ++i)
        log.append(QStringLiteral("ligne %1").arg(i));
    EXPECT_EQ(log.lines().first(), QStringLiteral("ligne 0"));
    for (int i = 200; i < 250; ++i)
        log.append(QStringLiteral("ligne %1").arg(i));
    ASSERT_EQ(log.lines().size(), 200);
    EXPECT_EQ(log.lines().first(), QStringLiteral("ligne 50"));
    EXPECT_EQ(log.lines().last(), QStringLiteral("ligne 249"));
    EXPECT_EQ(log.shown(), log.lines());
}

TEST(InstallLog, aLineThatNobodyReadsLosesItsBeginning) {
    const InstallLog log = logOf({QString(100'000, u'x') + QStringLiteral("fin")});
    EXPECT_EQ(log.lines().first().size(), 4096);
    EXPECT_TRUE(log.lines().first().endsWith(QStringLiteral("fin")));
}

TEST(InstallLog, aLineIsNeverCutWithinACharacter) {
    const InstallLog log = logOf({QStringLiteral("🍺") + QString(4095, u'x')});
    EXPECT_EQ(log.lines().first(), QString(4095, u'x'));
}

TEST(InstallLog, progressIsShownOnOneLineAsATerminalWould) {
    const InstallLog log = logOf({QStringLiteral("▶︎ Téléchargement"), QStringLiteral("\rFetching:  0%|"),
                                  QStringLiteral("\rFetching: 50%|\rFetching: 60%|"),
                                  QStringLiteral("\rFetching: 100%|"), QStringLiteral("Hello"), QStringLiteral("\r")});
    EXPECT_EQ(log.lines().size(), 6);
    EXPECT_EQ(log.shown(), (QStringList{QStringLiteral("▶︎ Téléchargement"), QStringLiteral("Fetching: 100%|"),
                                        QStringLiteral("Hello")}));
}

TEST(InstallLog, theFirstProgressLineLeavesTheLineBeforeAlone) {
    EXPECT_EQ(logOf({QStringLiteral("a"), QStringLiteral("\rb")}).shown(),
              (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
}

TEST(ShownLine, hasNoControlCharactersOrSequences) {
    EXPECT_EQ(shownLine(QStringLiteral("\x1B[1;32m==>\x1B[0m Pouring\x07 uv\t\x1B]b\x1B[")),
              QStringLiteral("==> Pouring uv ]b"));
    EXPECT_EQ(shownLine(QStringLiteral("\u0085\x7F")), QString());
    EXPECT_EQ(shownLine(QStringLiteral("10%\r20%\r\r")), QStringLiteral("20%"));
    EXPECT_EQ(shownLine(QStringLiteral("\x1B")), QString());
    EXPECT_EQ(shownLine(QStringLiteral("é 中 🎉 ▶︎")), QStringLiteral("é 中 🎉 ▶︎"));
}

TEST(ShownLine, hasAMarkWhereACharacterBreaksALineOrTurnsItsDirection) {
    EXPECT_EQ(shownLine(QStringLiteral("a\u2028b\u2029c")), QStringLiteral("a\uFFFDb\uFFFDc"));
    EXPECT_EQ(shownLine(QStringLiteral("\u202Egnp.exe\uFDD0\uFFFE")), QStringLiteral("\uFFFDgnp.exe\uFFFD\uFFFD"));
    EXPECT_EQ(shownLine(QString(QChar(0xD83C)) + u'a'), QStringLiteral("\uFFFDa"));
}

TEST(PercentageIn, isTheNumberBeforeTheLastSign) {
    EXPECT_EQ(percentageIn(QStringLiteral("Fetching 10 files:  30%|███       | 3/10 [00:10<00:20]")), 30);
    EXPECT_EQ(percentageIn(QStringLiteral("0%")), 0);
    EXPECT_EQ(percentageIn(QStringLiteral("100%")), 100);
    EXPECT_EQ(percentageIn(QStringLiteral("10% puis 20%")), 20);
    for (const char* line : {"", "%", "a%", "101%", "99999999999999999999%", "12", "-%"})
        EXPECT_EQ(percentageIn(QLatin1String(line)), std::nullopt) << line;
}

} // namespace
} // namespace vennic
