#include "backend/LocalCompletionStream.h"
#include "localllm/LocalDirectClient.h"
#include "support/ChatChunks.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>
#include <random>

namespace vennic::test {
namespace {

class Chance {
public:
    explicit Chance(unsigned seed) : source_(seed) {}
    int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(source_); }
    /// Text of all sorts of characters.
    QString text(int longest) {
        static const QString alphabet = QStringLiteral("ab \"\\{}[]:,é€\n\t/\u0001😀\u2028");
        QString text;
        for (int left = upTo(longest); left > 0; --left)
            text += alphabet[upTo(static_cast<int>(alphabet.size()) - 1)];
        return text;
    }

private:
    std::mt19937 source_;
};

QByteArray json(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

/// What a server says to have those calls made: the head of each, its arguments in pieces, the pieces of the calls
/// mixed, and ids, names and types repeated at will.
QByteArray fragmentsOf(const std::vector<LocalToolCall>& calls, Chance& chance) {
    struct Left {
        int index;
        QString args;
        bool begun = false;
    };
    std::vector<Left> left;
    for (std::size_t i = 0; i < calls.size(); ++i)
        left.push_back({static_cast<int>(i) * 3, calls[i].args});
    QByteArray stream;
    while (!left.empty()) {
        const auto at = static_cast<std::size_t>(chance.upTo(static_cast<int>(left.size()) - 1));
        Left& one = left[at];
        const LocalToolCall& call = calls[static_cast<std::size_t>(one.index / 3)];
        const qsizetype size = chance.upTo(static_cast<int>(one.args.size()));
        QJsonObject function;
        if (size > 0)
            function.insert(QStringLiteral("arguments"), one.args.left(size));
        QJsonObject fragment{{QStringLiteral("index"), one.index}};
        if (!one.begun || chance.upTo(3) == 0) {
            function.insert(QStringLiteral("name"), call.name);
            fragment.insert(QStringLiteral("id"), call.id);
            fragment.insert(QStringLiteral("type"), call.type);
        }
        if (!function.isEmpty())
            fragment.insert(QStringLiteral("function"), function);
        stream += chunks::calls(json(fragment));
        one.begun = true;
        one.args = one.args.sliced(size);
        if (one.args.isEmpty())
            left.erase(left.begin() + static_cast<std::ptrdiff_t>(at));
        if (chance.upTo(5) == 0)
            stream += chunks::text("x");
    }
    return stream + chunks::done();
}

QJsonArray readInPieces(const QByteArray& bytes, Chance& chance) {
    LocalCompletionStream stream;
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype size = std::min<qsizetype>(1 + chance.upTo(40), bytes.size() - at);
        stream.feed(QByteArrayView(bytes).sliced(at, size));
        while (stream.nextText())
            continue;
        at += size;
    }
    stream.feedEnd();
    while (stream.nextText())
        continue;
    return LocalDirectClient::finishedToolCalls(stream.toolCalls());
}

QJsonObject finished(const LocalToolCall& call) {
    return {{QStringLiteral("id"), call.id},
            {QStringLiteral("type"), call.type},
            {QStringLiteral("function"),
             QJsonObject{{QStringLiteral("name"), call.name},
                         {QStringLiteral("arguments"), call.args.isEmpty() ? QStringLiteral("{}") : call.args}}}};
}

TEST(FinishedToolCalls, fragmentsCutInAnyWayGiveTheSameCalls) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        Chance chance(seed);
        std::vector<LocalToolCall> calls;
        QJsonArray expected;
        for (int i = chance.upTo(4); i >= 0; --i) {
            calls.push_back({.id = QStringLiteral("c%1").arg(i),
                             .type = QStringLiteral("function"),
                             .name = QStringLiteral("outil_%1").arg(chance.upTo(3)),
                             .args = chance.text(60)});
            expected.append(finished(calls.back()));
        }
        for (int way = 0; way < 3; ++way) {
            const QByteArray stream = fragmentsOf(calls, chance);
            EXPECT_EQ(readInPieces(stream, chance), expected) << seed << '\n' << stream.constData();
        }
    }
}

} // namespace
} // namespace vennic::test
