#include "localllm/LocalChatRequest.h"

#include "base/LocalizedError.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace vennic {
namespace {

QJsonObject parsed(const LocalChatRequest& request) {
    QJsonParseError error{};
    const QJsonObject body = QJsonDocument::fromJson(request.body(), &error).object();
    EXPECT_EQ(error.error, QJsonParseError::NoError) << request.body().constData();
    return body;
}

QJsonObject object(const char* json) { return QJsonDocument::fromJson(json).object(); }

TEST(LocalChatRequest, aTurnWithoutToolsAsksForAStreamWithoutThinking) {
    LocalChatRequest request(QStringLiteral("vennic/essai \"7\""));
    EXPECT_EQ(parsed(request), object(R"({"model":"vennic/essai \"7\"","messages":[],"max_tokens":1024,
        "temperature":0.7,"stream":true,"stream_options":{"include_usage":true},
        "chat_template_kwargs":{"enable_thinking":false}})"));
    EXPECT_TRUE(request.body().contains(R"("temperature":0.7)"));
    EXPECT_TRUE(request.body().contains(R"("max_tokens":1024)"));
}

TEST(LocalChatRequest, toolsAreOfferedAndLeftToTheModel) {
    const QJsonObject body = parsed(LocalChatRequest(QStringLiteral("m"), {QJsonObject{{QStringLiteral("a"), 1}}}));
    EXPECT_EQ(body[QLatin1String("tools")], QJsonValue(QJsonArray{QJsonObject{{QStringLiteral("a"), 1}}}));
    EXPECT_EQ(body[QLatin1String("tool_choice")], QJsonValue(QStringLiteral("auto")));
}

TEST(LocalChatRequest, theConversationGrowsMessageByMessage) {
    LocalChatRequest request(QStringLiteral("m"));
    request.addMessage(QLatin1String("system"), QStringLiteral("Réponds « oui ».\n\t\"\\\u0001😀"));
    request.addMessage(QLatin1String("user"), {});
    const QByteArray before = request.body();
    const QJsonArray calls{object(R"({"id":"c1","type":"function","function":{"name":"x","arguments":"{\"é\":1}"}})")};
    request.addToolCalls({}, calls);
    request.addToolResult(QStringLiteral("c\"1"), QStringLiteral("1. a\n2. b"));
    EXPECT_TRUE(request.body().startsWith(before.chopped(2)));
    EXPECT_EQ(parsed(request)[QLatin1String("messages")].toArray(),
              QJsonDocument::fromJson(R"([{"role":"system","content":"Réponds « oui ».\n\t\"\\\u0001😀"},
                {"role":"user","content":""},
                {"role":"assistant","content":"","tool_calls":[{"id":"c1","type":"function",
                    "function":{"name":"x","arguments":"{\"é\":1}"}}]},
                {"role":"tool","tool_call_id":"c\"1","content":"1. a\n2. b"}])")
                  .array());
}

TEST(LocalChatRequest, aConversationWithoutEndIsRefused) {
    constexpr qsizetype most = 64LL * 1024 * 1024;
    constexpr qsizetype around = QByteArrayView(R"({,"messages":[]})").size();
    LocalChatRequest request(QStringLiteral("m"));
    request.addMessage(QLatin1String("user"), QString(11'000'000, QChar(1))); // six characters each in JSON
    const auto add = [&](qsizetype size) { request.addToolResult({}, QString(size, u'x')); };
    add(0);
    const qsizetype before = request.body().size();
    add(0);
    const qsizetype ofEmpty = request.body().size() - before;
    add(most + around - before - ofEmpty - ofEmpty);
    EXPECT_EQ(request.body().size(), most + around) << "as much as it may hold";
    LocalChatRequest second = request;
    LocalChatRequest third = request;
    EXPECT_THROW(add(0), LocalizedError);
    EXPECT_THROW(second.addMessage(QLatin1String("user"), {}), LocalizedError);
    EXPECT_THROW(third.addToolCalls({}, {}), LocalizedError);
}

TEST(LocalChatRequest, halfACharacterSpoilsNothing) {
    LocalChatRequest request(QStringLiteral("m"));
    request.addMessage(QLatin1String("user"), QString(QChar(0xd83d)) + u'x');
    EXPECT_EQ(parsed(request)[QLatin1String("messages")].toArray().size(), 1);
}

} // namespace
} // namespace vennic
