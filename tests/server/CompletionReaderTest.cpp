#include "server/CompletionReader.h"

#include <gtest/gtest.h>

namespace vennic::server {
namespace {

QByteArray chunk(const QByteArray& delta, const QByteArray& reason = "null") {
    return R"(data: {"choices":[{"index":0,"delta":)" + delta + R"(,"finish_reason":)" + reason + "}]}\n\n";
}
QByteArray text(const QByteArray& words) { return chunk(R"({"content":")" + words + R"("})"); }

struct Heard {
    QString said;
    ModelRound round;
    QString error;
    bool over = false;
    bool concluded = false;
    bool operator==(const Heard&) const = default;
};

Heard read(const QByteArray& bytes, qsizetype step) {
    CompletionReader reader;
    Heard heard;
    for (qsizetype at = 0; at < bytes.size(); at += step)
        heard.said += reader.feed(QByteArrayView(bytes).sliced(at, std::min(step, bytes.size() - at)));
    try {
        heard.round = reader.round();
    } catch (const ModelError& error) {
        heard.error = error.errorDescription();
    }
    heard.over = reader.isOver();
    heard.concluded = reader.isConcluded();
    return heard;
}
Heard read(const QByteArray& bytes) { return read(bytes, std::max<qsizetype>(bytes.size(), 1)); }

const QByteArray call = R"({"tool_calls":[{"index":0,"id":"c1","function":{"name":"search","arguments":"{\"que"}}]})";
const QByteArray more = R"({"tool_calls":[{"index":0,"function":{"arguments":"ry\":\"a\"}"}}]})";

} // namespace

TEST(CompletionReader, textAndToolCallsAreAssembled) {
    const Heard heard = read(text("Je ") + text("cherche.") + chunk(call) + chunk(more) +
                             chunk("{}", R"("tool_calls")") + "data: [DONE]\n\n");
    EXPECT_EQ(heard.said, QStringLiteral("Je cherche."));
    EXPECT_EQ(heard.round.text, heard.said);
    EXPECT_EQ(heard.round.calls,
              (QList<ToolCall>{{QStringLiteral("c1"), QStringLiteral("search"), QStringLiteral(R"({"query":"a"})")}}));
    EXPECT_TRUE(heard.over);
    EXPECT_TRUE(heard.concluded);
}

TEST(CompletionReader, anyCuttingOfTheBytesGivesTheSame) {
    const QList<QByteArray> streams{
        text("Été ") + "\r\n: rien\nevent: x\n" + text("à 🦊\\n") + chunk(call) + chunk(more, R"("stop")"),
        text("a") + "data: {\"error\":{\"message\":\"plus de mémoire\"}}\n\n" + text("b"),
        text("a") + "data: [DONE]\n" + text("b"),
        text("a") + text("sans fin de ligne").trimmed(),
        "data: {\ndata: []\ndata:\ndata: null\n" + text("a") + "\xff\xfe\n",
    };
    for (const QByteArray& stream : streams) {
        const Heard whole = read(stream);
        for (qsizetype step = 1; step < 40; ++step)
            EXPECT_EQ(read(stream, step), whole) << step << ' ' << stream.constData();
    }
    EXPECT_EQ(read(streams.at(0)).said, QStringLiteral("Été à 🦊\n"));
    EXPECT_EQ(read(streams.at(2)).said, QStringLiteral("a"));
}

TEST(CompletionReader, anErrorInTheStreamIsTheModelsWords) {
    EXPECT_EQ(read(text("a") + "data: {\"error\":{\"message\":\"plus\\nde *mémoire*\"}}\n").error,
              QStringLiteral("Le modèle a signalé une erreur : plus de \\*mémoire\\*"));
    EXPECT_EQ(read("data: {\"error\":\"non\"}\n").error, QStringLiteral("Le modèle a signalé une erreur : non"));
}

TEST(CompletionReader, whatIsNoStreamIsSaidToBeUnreadable) {
    const QString words = QStringLiteral("La réponse du serveur du modèle n'est pas lisible.");
    for (const QByteArray& bytes : {QByteArray(), QByteArray("<html>\n"), QByteArray("{\"choices\":[]}\n"),
                                    QByteArray("data: {\"choices\":7}\n"), QByteArray("data: 7\n")})
        EXPECT_EQ(read(bytes).error, words) << bytes.constData();
}

TEST(CompletionReader, hostileShapesAreTakenForNothing) {
    for (const char* delta :
         {"null", "7", "[]", R"({"content":7})", R"({"content":{}})", R"({"tool_calls":{}})", R"({"tool_calls":null})"})
        EXPECT_EQ(read(chunk(delta) + text("a")).round, (ModelRound{QStringLiteral("a"), {}})) << delta;
    EXPECT_EQ(read("data: {\"choices\":[]}\n" + text("a")).round.text, QStringLiteral("a"));
    EXPECT_EQ(read("data: " + QByteArray(100'000, '[') + "\n" + text("a")).round.text, QStringLiteral("a"));
}

TEST(CompletionReader, whatIsTooLongEndsTheReading) {
    const QString words = QStringLiteral("La réponse du modèle est trop longue.");
    const QByteArray big(200 * 1024, 'x');
    EXPECT_EQ(read(text(big)).error, QString());
    const Heard heard = read(text(big) + text(big) + text("a"));
    EXPECT_EQ(heard.error, words);
    EXPECT_EQ(heard.said.size(), big.size());
    EXPECT_TRUE(heard.over);
    EXPECT_EQ(read(QByteArray(mostLineBytes + 1, ' ')).error, words);
    EXPECT_EQ(read(": " + QByteArray(3 * mostLineBytes, ' ') + "\n", 4096).error, words);
    EXPECT_EQ(
        read(chunk(R"({"tool_calls":[{"index":0,"function":{"arguments":")" + QByteArray(70 * 1024, 'x') + "\"}}]}"))
            .error,
        words);
}

TEST(CompletionReader, manyShortLinesAtOnceAreNoLongLine) {
    QByteArray lines;
    while (lines.size() < 3 * mostLineBytes)
        lines += ": " + QByteArray(1000, ' ') + '\n';
    EXPECT_EQ(read(lines + text("a")).said, QStringLiteral("a"));
}

TEST(CompletionReader, onlySoManyToolsAreHeard) {
    QByteArray stream;
    for (int i = 0; i < 100; ++i)
        stream += chunk(R"({"tool_calls":[{"index":)" + QByteArray::number(i * 1'000'000) +
                        R"(,"function":{"name":"read"}}]})");
    EXPECT_EQ(read(stream).round.calls.size(), mostToolCalls);
}

} // namespace vennic::server
