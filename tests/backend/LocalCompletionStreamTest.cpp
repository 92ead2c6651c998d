#include "backend/LocalCompletionStream.h"

#include "base/TransportError.h"

#include <QJsonDocument>

#include <gtest/gtest.h>
#include <random>

namespace vennic {
namespace {

using Words = std::vector<std::string>;

struct Reading {
    Words texts;
    std::string text;
    Words calls; // "id type name args"
    std::string finishReason;
    LocalCompletionStream::Usage usage;
    bool done = false;
    bool operator==(const Reading&) const = default;
};

template <class Cut>
Reading readCut(const QByteArray& bytes, Cut&& next) {
    Reading reading;
    LocalCompletionStream stream;
    const auto drain = [&] {
        while (const auto text = stream.nextText())
            reading.texts.push_back(text->toStdString());
    };
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype size = std::min(next(), bytes.size() - at);
        stream.feed(QByteArrayView(bytes).sliced(at, size));
        drain();
        at += size;
    }
    stream.feedEnd();
    drain();
    reading.text = stream.text().toStdString();
    for (const LocalToolCall& call : stream.toolCalls())
        reading.calls.push_back(QStringList{call.id, call.type, call.name, call.args}.join(u' ').toStdString());
    reading.finishReason = stream.finishReason().value_or(QString()).toStdString();
    reading.usage = stream.usage();
    reading.done = stream.done();
    return reading;
}

Reading read(const QByteArray& bytes) {
    return readCut(bytes, [&] { return bytes.size(); });
}

QByteArray line(const QByteArray& json) { return "data: " + json + "\n\n"; }
QByteArray delta(const QByteArray& json) { return line(R"({"choices":[{"delta":)" + json + "}]}"); }
QByteArray text(const QByteArray& word) { return delta(R"({"content":")" + word + "\"}"); }
QByteArray call(const QByteArray& fragment) { return delta(R"({"tool_calls":[)" + fragment + "]}"); }

TEST(LocalCompletionStream, piecesOfTextComeOneByOneAndJoin) {
    const Reading reading = read(text("Bon") + text("jour") + "data: [DONE]\n\n");
    EXPECT_EQ(reading.texts, (Words{"Bon", "jour"}));
    EXPECT_EQ(reading.text, "Bonjour");
    EXPECT_TRUE(reading.done);
    EXPECT_TRUE(reading.calls.empty());
}

TEST(LocalCompletionStream, aStreamWithoutItsLastLineEndsNormally) {
    const Reading reading = read(text("a") + text("b").chopped(2));
    EXPECT_EQ(reading.text, "ab");
    EXPECT_FALSE(reading.done);
}

TEST(LocalCompletionStream, nothingIsReadBehindItsLastWord) {
    EXPECT_EQ(read(text("a") + "data: [DONE]\r\n" + text("b")).text, "a");
    EXPECT_EQ(read(text("a") + "data: [DONE] \n" + text("b")).text, "ab") << "not the last word, and no JSON";
}

TEST(LocalCompletionStream, onlyLinesThatBeginWithDataAndABlankCount) {
    const QByteArray chunk = R"({"choices":[{"delta":{"content":"x"}}]})";
    for (const char* start : {"data:", "data:\t", " data: ", "Data: ", "event: ", ": ", "id: ", ""})
        EXPECT_EQ(read(start + chunk + "\n").text, "") << start;
    EXPECT_EQ(read("data:  " + chunk + "\n").text, "x") << "a second blank is JSON's own";
}

TEST(LocalCompletionStream, whatIsNoChunkIsPassedOver) {
    for (const char* bad :
         {"{", "5", "[]", "null", "\xff\xfe", "{}", R"({"choices":null})", R"({"choices":{}})", R"({"choices":[]})",
          R"({"choices":[5]})", R"({"choices":[{}]})", R"({"choices":[{"delta":null}]})",
          R"({"choices":[{"delta":"x"}]})", R"({"choices":[{"delta":{"content":"x"}},5]})",
          R"({"choices":[{"delta":{"content":5}}]})", R"({"choices":[{"delta":{"content":null}}]})",
          R"({"choices":[{"delta":{"content":""}}]})", R"({"error":{"message":"x"}})"}) {
        const Reading reading = read(text("a") + line(bad) + text("b"));
        EXPECT_EQ(reading.texts, (Words{"a", "b"})) << bad;
    }
}

TEST(LocalCompletionStream, onlyTheFirstChoiceCounts) {
    EXPECT_EQ(read(line(R"({"choices":[{"delta":{"content":"x"}},{"delta":{"content":"y"}}]})")).text, "x");
}

TEST(LocalCompletionStream, aToolCallIsPutTogetherFromItsFragments) {
    const Reading reading =
        read(call(R"({"index":0,"id":"c1","type":"function","function":{"name":"search","arguments":""}})") +
             call(R"({"index":0,"function":{"arguments":"{\"q\":"}})") +
             call(R"({"index":0,"id":"","function":{"name":"","arguments":"\"edf\"}"}})"));
    EXPECT_EQ(reading.calls, (Words{R"(c1 function search {"q":"edf"})"}));
    EXPECT_TRUE(reading.texts.empty());
}

TEST(LocalCompletionStream, laterIdsTypesAndNamesReplaceEarlierOnes) {
    const Reading reading = read(call(R"({"index":3,"id":"a","type":"t","function":{"name":"n"}})") +
                                 call(R"({"index":3,"id":"b","type":"u","function":{"name":"m"}})") +
                                 call(R"({"index":3,"id":5,"type":null,"function":"no"})"));
    EXPECT_EQ(reading.calls, (Words{"b u m "}));
}

TEST(LocalCompletionStream, toolCallsComeInTheOrderOfTheirIndices) {
    const Reading reading = read(call(R"({"index":1,"id":"one"})") + call(R"({"index":0,"id":"zero"})") +
                                 call(R"({"index":-2,"id":"minus"})") + call(R"({"index":10,"id":"ten"})"));
    EXPECT_EQ(reading.calls, (Words{"minus function  ", "zero function  ", "one function  ", "ten function  "}));
}

TEST(LocalCompletionStream, anIndexThatIsNoIntegerIsZero) {
    const Reading reading = read(
        call(R"({"function":{"arguments":"a"}})") + call(R"({"index":"7","function":{"arguments":"b"}})") +
        call(R"({"index":0.5,"function":{"arguments":"c"}})") + call(R"({"index":0,"function":{"arguments":"d"}})"));
    ASSERT_EQ(reading.calls.size(), 1u);
    EXPECT_EQ(reading.calls[0], " function  abcd");
}

TEST(LocalCompletionStream, aListOfFragmentsWithAnythingElseInItIsPassedOver) {
    EXPECT_TRUE(read(call(R"({"index":0,"id":"a"},5)")).calls.empty());
    EXPECT_EQ(read(call(R"({"index":0,"id":"a"},{"index":1,"id":"b"})")).calls.size(), 2u);
}

TEST(LocalCompletionStream, theLastFinishReasonThatSaysSomethingStays) {
    EXPECT_EQ(read(text("a")).finishReason, "");
    const Reading reading = read(line(R"({"choices":[{"delta":{},"finish_reason":"length"}]})") +
                                 line(R"({"choices":[{"delta":{},"finish_reason":null}]})") +
                                 line(R"({"choices":[{"delta":{},"finish_reason":""}]})"));
    EXPECT_EQ(reading.finishReason, "length");
}

TEST(LocalCompletionStream, usageIsTakenFromAChunkWithoutChoicesToo) {
    using Usage = LocalCompletionStream::Usage;
    EXPECT_EQ(read(text("a")).usage, Usage{});
    EXPECT_EQ(read(line(R"({"choices":[],"usage":{"prompt_tokens":3,"completion_tokens":5}})")).usage, (Usage{3, 5}));
    EXPECT_EQ(read(line(R"({"usage":{"prompt_tokens":3}})") + line(R"({"usage":{"completion_tokens":"5"}})") +
                   line(R"({"usage":null})"))
                  .usage,
              (Usage{3, 0}));
}

TEST(LocalCompletionStream, aLineOfMoreThanAMebibyteIsRefused) {
    const QByteArray fits = "data: " + QByteArray(mostLineBytes - 6, 'x');
    EXPECT_EQ(read(fits + '\n' + text("a")).text, "a");
    EXPECT_THROW(read(fits + "x\n"), TransportError);
    EXPECT_THROW(read(QByteArray(mostLineBytes + 1, 'x')), TransportError);
}

TEST(LocalCompletionStream, whatIsGatheredHasABound) {
    const QByteArray big = text(QByteArray(1000 * 1000, 'x'));
    EXPECT_EQ(read(big.repeated(8)).text.size(), 8000u * 1000);
    EXPECT_THROW(read(big.repeated(9)), TransportError);
    const QByteArray args = call(R"({"index":0,"function":{"arguments":")" + QByteArray(1000 * 1000, 'x') + "\"}}");
    EXPECT_THROW(read(args.repeated(9)), TransportError);
    const QByteArray id = call(R"({"index":0,"id":")" + QByteArray(1000 * 1000, 'x') + "\"}");
    EXPECT_EQ(read(id.repeated(9)).calls.size(), 1u) << "an id replaces the one before";
}

TEST(LocalCompletionStream, callsWithoutNumberAreRefused) {
    LocalCompletionStream stream;
    const auto flood = [&] {
        for (int index = 0; index < 200000; ++index) {
            stream.feed(call("{\"index\":" + QByteArray::number(index) + "}"));
            stream.nextText();
        }
    };
    EXPECT_THROW(flood(), TransportError);
}

TEST(LocalCompletionStream, aCharacterCutBetweenTwoPiecesIsWholeInTheText) {
    EXPECT_EQ(read(text("\\ud83d") + text("\\ude00")).text, "😀");
}

// Any cutting of the same bytes gives the same.
TEST(LocalCompletionStream, itDoesNotMatterHowTheBytesAreCut) {
    const QByteArray bytes =
        ": comment\r\n" + text("Bonjour à tous 😀") + text("é") + "event: x\n" + "data: {broken\n" +
        call(R"({"index":1,"id":"b","function":{"name":"lire","arguments":"{\"é\":"}})") +
        call(R"({"index":0,"id":"a","function":{"name":"chercher","arguments":"1"}})") +
        call(R"({"index":1,"function":{"arguments":"\"ü\"}"}})") + "\r\n" +
        line(R"({"choices":[{"delta":{"content":"fin"},"finish_reason":"stop"}],"usage":{"completion_tokens":7}})") +
        "data: [DONE]\r\n\r\n" + text("nothing");
    const Reading whole = read(bytes);
    EXPECT_EQ(whole.texts.size(), 3u);
    for (qsizetype size = 1; size <= 64; ++size)
        EXPECT_EQ(readCut(bytes, [size] { return size; }), whole) << size;
    std::mt19937 random(5); // NOLINT(bugprone-random-generator-seed,cert-msc51-cpp): the same cuts on each run
    for (int round = 0; round < 500; ++round)
        ASSERT_EQ(readCut(bytes, [&] { return static_cast<qsizetype>(1 + random() % 97); }), whole) << round;
}

} // namespace
} // namespace vennic
