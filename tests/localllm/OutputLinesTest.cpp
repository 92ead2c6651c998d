#include "localllm/OutputLines.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

QStringList lines(std::initializer_list<const char*> words) {
    QStringList list;
    for (const char* word : words)
        list.append(QString::fromUtf8(word));
    return list;
}

TEST(OutputLines, standBetweenLineFeedsWithoutWhatIsEmpty) {
    EXPECT_EQ(outputLines("un\ndeux\n"), lines({"un", "deux"}));
    EXPECT_EQ(outputLines("\n\nun\n\n\ndeux"), lines({"un", "deux"}));
    EXPECT_EQ(outputLines("sans fin de ligne"), lines({"sans fin de ligne"}));
    EXPECT_EQ(outputLines("\n"), QStringList());
    EXPECT_EQ(outputLines(""), QStringList());
}

TEST(OutputLines, areKeptAsTheyWereWritten) {
    EXPECT_EQ(outputLines(" a \r\n\tb"), lines({" a \r", "\tb"}));
    EXPECT_EQ(outputLines("été ✓ 🙂"), lines({"été ✓ 🙂"}));
    EXPECT_EQ(outputLines(QByteArray("a\0b", 3)).value(0).size(), 3);
}

TEST(OutputLines, ofALineThatTheReadingCutAreTwo) {
    EXPECT_EQ(outputLines("Télé") + outputLines("chargé\n"), lines({"Télé", "chargé"}));
}

TEST(OutputLines, ofAPieceThatIsNotUtf8AreNone) {
    EXPECT_EQ(outputLines("bon\nmauvais \xff\nbon"), QStringList());
    EXPECT_EQ(outputLines("\xc3"), QStringList());          // the reading cut an é in two:
    EXPECT_EQ(outputLines("\xa9t\xc3\xa9"), QStringList()); // both halves are lost
    EXPECT_EQ(outputLines("\xed\xa0\x80"), QStringList());  // a surrogate
    EXPECT_EQ(outputLines("\xc0\x80"), QStringList());      // an overlong form
}

TEST(OutputLines, settleInWhatWasWrittenLastOverThem) {
    EXPECT_EQ(settledLine(QStringLiteral("\r 10%\r 50%\r100%")), QStringLiteral("100%"));
    EXPECT_EQ(settledLine(QStringLiteral(" 10%\r 50%\r\r")), QStringLiteral(" 50%"));
    EXPECT_EQ(settledLine(QStringLiteral("a\r")), QStringLiteral("a"));
    EXPECT_EQ(settledLine(QStringLiteral("a b")), QStringLiteral("a b"));
    EXPECT_EQ(settledLine(QStringLiteral("\r\r")), QString());
}

} // namespace
} // namespace vennic
