#include "base/Json.h"
#include "core/ConversationEncoding.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

namespace vennic {
namespace {

ChatMessage message(const QString& content, ChatMessage::Role role = ChatMessage::Role::user) {
    static const QUuid id = QUuid::fromString(QStringLiteral("{0f8fad5b-d9cb-469f-a165-70867728950e}"));
    return {id, role, content, QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33, 250), Qt::UTC)};
}

QByteArray encoded(const ChatMessage& message) { return encodeChatMessage(message).value_or("none"); }

ChatMessage decoded(const QByteArray& json) { return decodeChatMessage(parseJsonObject(json)); }

TEST(ChatMessage, theStoredFormHasItsKeysInOrder) {
    EXPECT_EQ(encoded(message(QStringLiteral("Salut"))),
              R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","role":"user","content":"Salut",)"
              R"("createdAt":762513153.25})");
    EXPECT_TRUE(encoded(message({}, ChatMessage::Role::assistant)).contains(R"("role":"assistant","content":"")"));
}

TEST(ChatMessage, theReferenceMomentIsZero) {
    auto first = message({});
    first.createdAt = QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    EXPECT_TRUE(encoded(first).endsWith(R"("createdAt":0})"));
    first.createdAt = first.createdAt.addMSecs(-1);
    EXPECT_TRUE(encoded(first).endsWith(R"("createdAt":-0.001})"));
}

TEST(ChatMessage, everyTextComesBackAsItWas) {
    QString controls;
    for (ushort unit = 0; unit < 0x20; ++unit)
        controls += QChar(unit);
    const QString texts[] = {{},
                             QStringLiteral("\"guillemets\" \\ / \b\f\n\r\t"),
                             controls,
                             QStringLiteral("é œ 日本 😀 \u2028 \u2029 \uFEFF \u007F"),
                             QString(QChar(u'\0')),
                             QString(QChar(0xD800)),
                             QStringLiteral("a") + QChar(0xDC00) + QStringLiteral("\"b\"") + QChar(0xD83D),
                             QString(100'000, QChar(u'x'))};
    for (const QString& text : texts) {
        const auto original = message(text);
        const QByteArray json = encoded(original);
        EXPECT_TRUE(json.isValidUtf8());
        EXPECT_EQ(decoded(json), original) << json.left(200).constData();
    }
}

TEST(ChatMessage, equalityLooksAtAllFourFields) {
    const auto original = message(QStringLiteral("a"));
    auto other = original;
    EXPECT_EQ(other, original);
    other.content = QStringLiteral("b");
    EXPECT_NE(other, original);
    other = original;
    other.role = ChatMessage::Role::assistant;
    EXPECT_NE(other, original);
    other = original;
    other.id = QUuid::createUuid();
    EXPECT_NE(other, original);
    other = original;
    other.createdAt = other.createdAt.addMSecs(1);
    EXPECT_NE(other, original);
}

TEST(ChatMessage, aNewMessageHasItsOwnIdentityAndTheGivenMoment) {
    const auto now = QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33), Qt::UTC);
    const auto first = ChatMessage::make(ChatMessage::Role::user, QStringLiteral("a"), now);
    const auto second = ChatMessage::make(ChatMessage::Role::user, QStringLiteral("a"), now);
    EXPECT_NE(first.id, second.id);
    EXPECT_FALSE(first.id.isNull());
    EXPECT_EQ(first.createdAt, now);
    EXPECT_EQ(first.content, QStringLiteral("a"));
}

TEST(ChatMessage, anIdentifierIsReadInAnyCaseAndInNoOtherForm) {
    const QByteArray pattern = R"({"id":"%1","role":"user","content":"","createdAt":0})";
    const auto read = [&](const char* id) { return decoded(QByteArray(pattern).replace("%1", id)); };
    EXPECT_EQ(read("0f8fad5b-d9cb-469f-a165-70867728950e").id, message({}).id);
    EXPECT_EQ(read("0F8FAD5B-D9CB-469F-A165-70867728950E").id, message({}).id);
    for (const char* id : {"", "x", "{0F8FAD5B-D9CB-469F-A165-70867728950E}", "0F8FAD5BD9CB469FA16570867728950E",
                           "0F8FAD5B-D9CB-469F-A165-70867728950E ", "0F8FAD5B-D9CB-469F-A165-7086772895ZZ"})
        EXPECT_THROW(read(id), DecodingError) << id;
}

TEST(ChatMessage, everyKeyIsRequiredAndOfItsType) {
    const QJsonObject good = parseJsonObject(encoded(message(QStringLiteral("a"))));
    for (const QString& key : good.keys()) {
        QJsonObject without = good;
        without.remove(key);
        EXPECT_THROW(decodeChatMessage(without), DecodingError) << key.toStdString();
        for (const QJsonValue& wrong : {QJsonValue(QJsonValue::Null), QJsonValue(true), QJsonValue(QJsonArray{})}) {
            QJsonObject bad = good;
            bad[key] = wrong;
            EXPECT_THROW(decodeChatMessage(bad), DecodingError) << key.toStdString();
        }
    }
    QJsonObject more = good;
    more[QStringLiteral("unknown")] = 5;
    EXPECT_EQ(decodeChatMessage(more), message(QStringLiteral("a")));
}

TEST(ChatMessage, anUnknownRoleAndAnImpossibleDateFail) {
    QJsonObject object = parseJsonObject(encoded(message({})));
    object[QStringLiteral("role")] = QStringLiteral("system");
    EXPECT_THROW(decodeChatMessage(object), DecodingError);
    object[QStringLiteral("role")] = QStringLiteral("user");
    for (const double seconds : {1e300, -1e300, 1e16, -1e16}) {
        object[QStringLiteral("createdAt")] = seconds;
        EXPECT_THROW(decodeChatMessage(object), DecodingError) << seconds;
    }
}

TEST(ChatMessage, aMessageWithoutAMomentHasNoStoredForm) {
    auto timeless = message(QStringLiteral("a"));
    timeless.createdAt = {};
    EXPECT_EQ(encodeChatMessage(timeless), std::nullopt);
}

TEST(StoredConversation, anArrayIsReadWholeOrNotAtAll) {
    EXPECT_TRUE(decodeConversation("[]").empty());
    const QByteArray good = encoded(message(QStringLiteral("a")));
    EXPECT_EQ(decodeConversation('[' + good + ',' + good + ']').size(), 2U);
    const QByteArray unknownRole = QByteArray(good).replace("\"user\"", "\"robot\"");
    for (const QByteArray& bad : {QByteArray(), QByteArray("{}"), QByteArray("[5]"), QByteArray("[null]"), '[' + good,
                                  '[' + good + ',' + unknownRole + ']', QByteArray("\xff"), QByteArray(5000, '[')})
        EXPECT_THROW(decodeConversation(bad), DecodingError) << bad.left(100).constData();
}

TEST(StoredConversation, noTruncationOfAStoredConversationIsReadAsSomethingElse) {
    const QByteArray whole = '[' + encoded(message(QStringLiteral("é"))) + ',' + encoded(message({})) + ']';
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_THROW(decodeConversation(whole.left(length)), DecodingError) << length;
}

TEST(ConversationEncoding, givesTheSameBytesAsMessageByMessageWhateverChanged) {
    ConversationEncoding encoding;
    std::vector<ChatMessage> messages;
    const auto expected = [&] {
        QByteArrayList parts;
        for (const auto& each : messages)
            parts.append(encoded(each));
        return '[' + parts.join(',') + ']';
    };
    const auto check = [&] { EXPECT_EQ(encoding.encode(messages), expected()); };
    check();
    messages.push_back(message(QStringLiteral("un")));
    check();
    messages.push_back(message(QStringLiteral("deux")));
    messages.push_back(message(QStringLiteral("trois")));
    check();
    messages[2].content += QStringLiteral(" et plus");
    check();
    messages[0].role = ChatMessage::Role::assistant;
    check();
    messages[1].createdAt = messages[1].createdAt.addSecs(1);
    check();
    messages[1].id = QUuid::createUuid();
    check();
    messages.erase(messages.begin());
    check();
    std::swap(messages[0], messages[1]);
    check();
    messages.clear();
    check();
}

TEST(ConversationEncoding, aMessageThatHasNoStoredFormSpoilsTheWholeOnlyWhileItIsThere) {
    ConversationEncoding encoding;
    std::vector<ChatMessage> messages{message(QStringLiteral("un")), message(QStringLiteral("deux"))};
    messages[0].createdAt = {};
    EXPECT_EQ(encoding.encode(messages), std::nullopt);
    messages[0] = message(QStringLiteral("un"));
    EXPECT_EQ(decodeConversation(*encoding.encode(messages)), messages);
}

} // namespace
} // namespace vennic
