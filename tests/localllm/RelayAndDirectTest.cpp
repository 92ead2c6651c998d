// The same stream of the local server is read for the backend, by the relay, and for this machine's own turns. What
// the two make of it differs in four points and in nothing else.
#include "Bridge/AssembledCompletion.h"
#include "base/TransportError.h"
#include "localllm/LocalDirectClient.h"

#include <QJsonDocument>

#include <gtest/gtest.h>
#include <random>

namespace vennic {
namespace {

/// Random numbers that are the same on each run.
class Dice {
public:
    explicit Dice(unsigned seed) : random_(seed) {}
    qsizetype below(qsizetype end) { return static_cast<qsizetype>(random_() % static_cast<std::uint64_t>(end)); }
    const char* oneOf(std::initializer_list<const char*> words) {
        return *(words.begin() + below(static_cast<qsizetype>(words.size())));
    }

private:
    std::mt19937_64 random_;
};

/// One field of an object in JSON, or nothing of it.
QByteArray field(Dice& dice, const char* name, std::initializer_list<const char*> values) {
    const QByteArray value = dice.oneOf(values);
    return value.isEmpty() ? QByteArray() : QByteArray("\"") + name + "\":" + value + ',';
}

QByteArray object(const QByteArray& fields) { return '{' + (fields.endsWith(',') ? fields.chopped(1) : fields) + '}'; }

QByteArray fragment(Dice& dice) {
    const QByteArray function = object(field(dice, "name", {"", "", "\"\"", "\"lire\"", "\"chercher\"", "5"}) +
                                       field(dice, "arguments", {"", "\"\"", R"("{\"é\":")", R"("1}")", "null", "{}"}));
    const bool isCalled = dice.below(8) > 0;
    return object(field(dice, "index", {"", "0", "1", "2", "7", "-3", "\"1\"", "0.5"}) +
                  field(dice, "id", {"", "", "\"\"", "\"a\"", "\"b\"", "null"}) +
                  field(dice, "type", {"", "\"\"", "\"function\"", "\"custom\"", "4"}) +
                  (isCalled ? "\"function\":" + function : R"("function":"no")"));
}

QByteArray chunk(Dice& dice) {
    QByteArray fragments;
    for (qsizetype count = dice.below(3); count > 0; --count)
        fragments += fragment(dice) + ',';
    if (dice.below(20) == 0)
        fragments += "5,"; // spoils the list
    const QByteArray calls = fragments.isEmpty() ? QByteArray() : "\"tool_calls\":[" + fragments.chopped(1) + "],";
    const QByteArray delta = object(
        field(dice, "content", {"", "\"\"", "\"mot \"", "\"é😀\"", R"("\ud83d")", R"("\ude00\n\"")", "null"}) + calls);
    return R"({"choices":[{"delta":)" + delta + ',' +
           object(field(dice, "finish_reason", {"", "\"stop\"", "null"})).mid(1) + "]}";
}

QByteArray line(Dice& dice) {
    const QByteArray end = dice.oneOf({"\n", "\n\n", "\r\n", "\r\n\r\n"});
    switch (dice.below(12)) {
    case 0:
        return QByteArray(
                   dice.oneOf({": comment", "event: x", "data: {broken", "data: []", "data:{}", "", "data: 5"})) +
               end;
    case 1:
        return R"(data: {"choices":[],"usage":{"prompt_tokens":3,"completion_tokens":5}})" + end;
    case 2:
        return dice.below(10) == 0 ? "data: [DONE]" + end : end;
    default:
        return "data: " + chunk(dice) + end;
    }
}

LocalCompletionStream readCut(const QByteArray& bytes, Dice& dice) {
    LocalCompletionStream stream;
    const qsizetype most = 1 + dice.below(200);
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype size = std::min(1 + dice.below(most), bytes.size() - at);
        stream.feed(QByteArrayView(bytes).sliced(at, size));
        while (stream.nextText()) {
        }
        at += size;
    }
    stream.feedEnd();
    while (stream.nextText()) {
    }
    return stream;
}

QJsonObject messageOf(const LocalCompletionStream& answer, const IdentifierSource& newId) {
    const QString json = assembledCompletion(answer, QStringLiteral("m"), newId);
    return QJsonDocument::fromJson(json.toUtf8())[QLatin1String("choices")][0][QLatin1String("message")].toObject();
}

/// What the direct turn makes of a call that the relay passes on; none when it drops the call.
std::optional<QJsonObject> asDirect(QJsonObject call, const QString& relaysId, const QString& directsId) {
    QJsonObject function = call[QLatin1String("function")].toObject();
    if (function[QLatin1String("name")].toString().isEmpty())
        return std::nullopt;
    if (function[QLatin1String("arguments")].toString().isEmpty())
        function[QLatin1String("arguments")] = QStringLiteral("{}");
    call[QLatin1String("function")] = function;
    if (call[QLatin1String("id")].toString() == relaysId)
        call[QLatin1String("id")] = directsId;
    return call;
}

TEST(RelayAndDirect, agreeButForEmptyIdsEmptyArgumentsAndCallsWithoutAName) {
    const QString uuid = QStringLiteral("3F2504E0-4F89-41D3-9A0C-0305E82C3301");
    const IdentifierSource newId = [uuid] { return uuid; };
    qsizetype passedOn = 0;
    qsizetype kept = 0;
    qsizetype named = 0;
    for (unsigned seed = 0; seed < 2000; ++seed) {
        Dice dice(seed);
        QByteArray bytes;
        for (qsizetype lines = dice.below(25); lines > 0; --lines)
            bytes += line(dice);
        const LocalCompletionStream relayed = readCut(bytes, dice);
        const LocalCompletionStream direct = readCut(bytes, dice);
        const QJsonObject message = messageOf(relayed, newId);
        const QJsonArray calls = LocalDirectClient::finishedToolCalls(direct.toolCalls(), newId);

        // A lone surrogate has no form in UTF-8: it reaches the backend as the replacement of one.
        ASSERT_EQ(message[QLatin1String("content")].toString().toUtf8(), direct.text().toUtf8()) << bytes.constData();
        QJsonArray expected;
        const QJsonArray relayedCalls = message[QLatin1String("tool_calls")].toArray();
        for (const QJsonValue call : relayedCalls) {
            named += call[QLatin1String("id")] == QStringLiteral("call_3F2504E0") ? 1 : 0;
            if (const auto same =
                    asDirect(call.toObject(), QStringLiteral("call_3F2504E0"), QStringLiteral("call_") + uuid))
                expected.append(*same);
        }
        ASSERT_EQ(calls, expected) << bytes.constData();
        passedOn += relayedCalls.size();
        kept += calls.size();
    }
    EXPECT_GT(kept, 1000);
    EXPECT_GT(passedOn, kept + 1000) << "calls without a name were among them";
    EXPECT_GT(named, 1000) << "and calls without an id";
}

} // namespace
} // namespace vennic
