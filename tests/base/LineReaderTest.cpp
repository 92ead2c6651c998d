#include "base/LineReader.h"

#include <gtest/gtest.h>
#include <vector>

namespace vennic {
namespace {

std::vector<QByteArray> linesOf(const QByteArray& text, qsizetype chunk, QByteArray* rest = nullptr) {
    LineReader reader(1024);
    std::vector<QByteArray> lines;
    for (qsizetype at = 0; at < text.size(); at += chunk) {
        reader.feed(text.mid(at, chunk));
        while (auto line = reader.next())
            lines.push_back(*line);
    }
    if (rest)
        *rest = reader.rest();
    return lines;
}

TEST(LineReader, givesEveryLineWithoutItsEndWhateverTheChunks) {
    const QByteArray text("one\r\n\ntwo\rthree\n\r\n\r\r\nrest");
    const std::vector<QByteArray> expected{"one", "", "two\rthree", "", "\r"};
    for (qsizetype chunk = 1; chunk <= text.size(); ++chunk) {
        QByteArray rest;
        EXPECT_EQ(linesOf(text, chunk, &rest), expected) << chunk;
        EXPECT_EQ(rest, "rest") << chunk;
    }
}

TEST(LineReader, aCarriageReturnWithoutALineFeedIsPartOfItsLine) {
    EXPECT_EQ(linesOf("data: a\rdata: b\ndata: c\r\n", 100), (std::vector<QByteArray>{"data: a\rdata: b", "data: c"}));
}

TEST(LineReader, aLineThatIsTooLongStopsTheReading) {
    LineReader reader(4);
    reader.feed("1234\n12345\nok\n");
    EXPECT_EQ(reader.next(), QByteArray("1234"));
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.overflowed());
    EXPECT_FALSE(reader.next());
}

TEST(LineReader, aLineThatGrowsTooLongBeforeItsEndStopsTheReading) {
    LineReader reader(4);
    reader.feed("123");
    EXPECT_FALSE(reader.next());
    EXPECT_FALSE(reader.overflowed());
    reader.feed("45");
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.overflowed());
}

TEST(LineReader, aLineInManyPiecesIsNotSearchedAgainFromItsBeginning) {
    LineReader reader(1 << 20);
    for (int piece = 0; piece < 100'000; ++piece) {
        reader.feed("0123456789");
        ASSERT_FALSE(reader.next());
    }
    reader.feed("\n");
    EXPECT_EQ(reader.next()->size(), 1'000'000);
}

} // namespace
} // namespace vennic
