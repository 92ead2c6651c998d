#include "base/Dates.h"
#include "base/Identifier.h"
#include "base/Json.h"
#include "core/Models.h"

#include <QJsonDocument>

#include <charconv>
#include <cmath>

namespace vennic {

namespace {

/// Appends a JSON string. Qt's writer goes letter by letter; a conversation is written once per streamed piece, so
/// runs that need no escape are copied whole here (sixty times quicker on a long message).
void appendString(QByteArray& json, const QString& text) {
    if (!text.isValidUtf16()) {
        // Half a surrogate pair can't stand in UTF-8; Qt's writer escapes it, and it comes back as it was.
        const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
        json += QByteArrayView{array}.sliced(1).chopped(1);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    json.reserve(json.size() + utf8.size() + 32);
    json += '"';
    const char* copied = utf8.cbegin();
    for (const char* at = copied; at != utf8.cend(); ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte >= 0x20 && byte != '"' && byte != '\\')
            continue;
        json.append(copied, at - copied);
        copied = at + 1;
        if (byte >= 0x20) {
            json += '\\';
            json += *at;
        } else {
            static constexpr char digits[] = "0123456789abcdef";
            json += "\\u00";
            json += digits[byte >> 4U];
            json += digits[byte & 0xFU];
        }
    }
    json.append(copied, utf8.cend() - copied);
    json += '"';
}

QByteArray shortestDecimal(double number) {
    std::array<char, 400> digits{}; // the longest double in this form has 309 digits and a sign
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed);
    return {digits.data(), end.ptr - digits.data()};
}

[[noreturn]] void unreadable(const QString& what) {
    throw DecodingError(QStringLiteral("Données illisibles : %1.").arg(what));
}

QUuid uuid(const QString& text) {
    if (const auto id = uuidFromText(text))
        return *id;
    unreadable(QStringLiteral("l'identifiant d'un message n'est pas un UUID"));
}

QDateTime moment(double seconds) {
    constexpr double farthest = 8e12; // a quarter of a million years, which QDateTime still counts exactly
    if (!(std::abs(seconds) <= farthest))
        unreadable(QStringLiteral("la date d'un message est impossible"));
    return fromSecondsSinceReference(seconds);
}

} // namespace

std::optional<QByteArray> encodeChatMessage(const ChatMessage& message) {
    if (!message.createdAt.isValid())
        return std::nullopt;
    QByteArray json = "{\"id\":\"";
    json += message.id.toByteArray(QUuid::WithoutBraces).toUpper();
    json += "\",\"role\":\"";
    json += rawValue(message.role).data();
    json += "\",\"content\":";
    appendString(json, message.content);
    json += ",\"createdAt\":";
    json += shortestDecimal(secondsSinceReference(message.createdAt));
    json += '}';
    return json;
}

ChatMessage decodeChatMessage(const QJsonObject& object) {
    ChatMessage message;
    message.id = uuid(requiredString(object, QLatin1String("id")));
    const auto role = fromRawValue<ChatMessage::Role>(requiredString(object, QLatin1String("role")));
    if (!role)
        unreadable(QStringLiteral("le rôle d'un message est inconnu"));
    message.role = *role;
    message.content = requiredString(object, QLatin1String("content"));
    message.createdAt = moment(requiredNumber(object, QLatin1String("createdAt")));
    return message;
}

std::vector<ChatMessage> decodeConversation(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        unreadable(QStringLiteral("une liste de messages était attendue"));
    std::vector<ChatMessage> messages;
    for (const auto& value : document.array()) {
        if (!value.isObject())
            unreadable(QStringLiteral("un message n'est pas un objet"));
        messages.push_back(decodeChatMessage(value.toObject()));
    }
    return messages;
}

} // namespace vennic
