#include "backend/CompletionStream.h"

#include "base/LineReader.h"
#include "base/TransportError.h"

#include <gtest/gtest.h>
#include <vector>

namespace vennic {
namespace {

ChatReply read(const QByteArray& text, std::optional<qint64> discussionId = std::nullopt,
               std::vector<QString>* deltas = nullptr) {
    CompletionStream stream(deltas ? [deltas](const QString& delta) { deltas->push_back(delta); }
                                   : CompletionStream::OnDelta());
    LineReader lines(1 << 20);
    lines.feed(text);
    while (const auto line = lines.next())
        stream.takeLine(*line);
    return stream.reply(discussionId);
}

TEST(CompletionStream, anEmptyStreamIsAnEmptyReply) {
    EXPECT_EQ(read(""), (ChatReply{QString(), 0}));
    EXPECT_EQ(read("", 7), (ChatReply{QString(), 7}));
}

TEST(CompletionStream, eventsWithoutANameAreTextAndJoinWithNothingBetween) {
    std::vector<QString> deltas;
    EXPECT_EQ(read("data: Bon\n\ndata: jour é\n\n", {}, &deltas).text, QStringLiteral("Bonjour é"));
    EXPECT_EQ(deltas, (std::vector<QString>{QStringLiteral("Bon"), QStringLiteral("jour é")}));
}

TEST(CompletionStream, twoDataLinesAreOneDeltaWithALineFeed) {
    std::vector<QString> deltas;
    EXPECT_EQ(read("event: message\ndata: a\ndata: b\n\n", {}, &deltas).text, QStringLiteral("a\nb"));
    EXPECT_EQ(deltas.size(), 1u);
}

TEST(CompletionStream, theFinalTextStandsInForTheDeltas) {
    EXPECT_EQ(read("data: abc\n\nevent: final\ndata: {\"text\":\"whole\",\"discussion_id\":9}\n\n"),
              (ChatReply{QStringLiteral("whole"), 9}));
}

TEST(CompletionStream, aFinalWithoutTextTakesTheResponseMessage) {
    EXPECT_EQ(read("data: abc\n\nevent: final\ndata: {\"text\":\"\",\"response_message\":\"message\"}\n\n").text,
              QStringLiteral("message"));
    EXPECT_EQ(read("data: abc\n\nevent: final\ndata: {\"text\":5,\"response_message\":\"message\"}\n\n").text,
              QStringLiteral("message"));
}

TEST(CompletionStream, aFinalWithNeitherLeavesTheDeltas) {
    EXPECT_EQ(read("data: abc\n\nevent: final\ndata: {\"text\":\"\",\"response_message\":\"\"}\n\n").text,
              QStringLiteral("abc"));
    for (const char* data : {"[]", "{", "text", "null"})
        EXPECT_EQ(read(QByteArray("data: abc\n\nevent: final\ndata: ") + data + "\n\n").text, QStringLiteral("abc"));
}

TEST(CompletionStream, onlyAnIntegerIsADiscussion) {
    EXPECT_EQ(read("event: initial\ndata: {\"discussion_id\":42}\n\n").discussionId, 42);
    for (const char* id : {"\"42\"", "4.2", "null", "true", "[42]"})
        EXPECT_EQ(read(QByteArray("event: final\ndata: {\"discussion_id\":") + id + "}\n\n", 3).discussionId, 3) << id;
    EXPECT_EQ(read("event: initial\ndata: nonsense\n\n", 3).discussionId, 3);
}

TEST(CompletionStream, theFinalIdReplacesTheInitialOne) {
    EXPECT_EQ(read("event: initial\ndata: {\"discussion_id\":1}\n\nevent: final\ndata: {\"discussion_id\":2}\n\n")
                  .discussionId,
              2);
}

TEST(CompletionStream, aNameDoesNotLeakIntoTheNextEvent) {
    EXPECT_EQ(read("event: initial\ndata: {}\n\ndata: hello\n\n").text, QStringLiteral("hello"));
    EXPECT_EQ(read("event: final\n\ndata: hello\n\n").text, QStringLiteral("hello"));
}

TEST(CompletionStream, anEventThatNothingEndsIsDropped) { EXPECT_EQ(read("data: abc\n").text, QString()); }

TEST(CompletionStream, linesOfAnyOtherShapeAreIgnored) {
    EXPECT_EQ(read("data:abc\n\nevent:final\n: comment\nid: 1\nretry: 5\n data: x\nDATA: y\ndata: z\n\n").text,
              QStringLiteral("z"));
}

TEST(CompletionStream, eventsOfOtherNamesSayNothing) {
    EXPECT_EQ(read("event: error\ndata: boom\n\nevent: message \ndata: no\n\nevent: Message\ndata: no\n\n").text,
              QString());
}

TEST(CompletionStream, blanksOfADeltaAreKept) {
    EXPECT_EQ(read("data:   a \n\ndata: \n\n").text, QStringLiteral("  a "));
}

TEST(CompletionStream, aReplyWithoutEndIsGivenUp) {
    CompletionStream stream;
    const QByteArray line = "data: " + QByteArray(1 << 20, 'x');
    EXPECT_THROW(
        {
            for (int round = 0; round < 20; ++round) {
                stream.takeLine(line);
                stream.takeLine({});
            }
        },
        TransportError);
}

} // namespace
} // namespace vennic
