#include "linux/VaultItems.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstring>

namespace vennic {

namespace {

constexpr int version = 1;

void wipeText(QString& text) {
    if (text.isDetached() && !text.isEmpty())
        explicit_bzero(text.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    text.clear();
}

/// A byte order mark at the front would be lost on the way through a text.
bool isPlainText(QByteArrayView bytes) { return bytes.isValidUtf8() && !bytes.startsWith("\xEF\xBB\xBF"); }

QJsonObject encodeItem(const VaultItem& item) {
    QJsonObject object{{QStringLiteral("service"), item.name.service},
                       {QStringLiteral("account"), item.name.account},
                       {QStringLiteral("requires_user_presence"), item.requiresUserPresence}};
    const QByteArrayView bytes = item.secret.reveal();
    if (isPlainText(bytes)) {
        QString text = QString::fromUtf8(bytes);
        object.insert(QStringLiteral("secret"), text);
        wipeText(text);
    } else {
        QByteArray base64 = QByteArray::fromRawData(bytes.data(), bytes.size()).toBase64();
        object.insert(QStringLiteral("secret_base64"), QString::fromLatin1(base64));
        wipe(base64);
    }
    return object;
}

std::optional<SecretText> secretOf(const QJsonObject& object) {
    const QJsonValue plain = object.value(QLatin1String("secret"));
    const QJsonValue coded = object.value(QLatin1String("secret_base64"));
    if (plain.isString() == coded.isString())
        return std::nullopt;
    QString text = (plain.isString() ? plain : coded).toString();
    QByteArray bytes = text.toUtf8();
    wipeText(text);
    if (coded.isString()) {
        auto decoded = QByteArray::fromBase64Encoding(bytes, QByteArray::AbortOnBase64DecodingErrors);
        wipe(bytes);
        if (!decoded)
            return std::nullopt;
        bytes = std::move(decoded.decoded);
    }
    SecretText secret{bytes};
    wipe(bytes);
    return secret;
}

std::optional<VaultItem> decodeItem(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    const QJsonValue service = object.value(QLatin1String("service"));
    const QJsonValue account = object.value(QLatin1String("account"));
    const QJsonValue presence = object.value(QLatin1String("requires_user_presence"));
    // A protection that can't be read must not count as none.
    if (!service.isString() || !account.isString() || !(presence.isBool() || presence.isUndefined()))
        return std::nullopt;
    auto secret = secretOf(object);
    if (!secret)
        return std::nullopt;
    return VaultItem{{service.toString(), account.toString()}, *std::move(secret), presence.toBool()};
}

} // namespace

QByteArray encodeVault(const std::vector<VaultItem>& items) {
    QJsonArray array;
    for (const VaultItem& item : items)
        array.append(encodeItem(item));
    return QJsonDocument(QJsonObject{{QStringLiteral("version"), version}, {QStringLiteral("items"), array}})
        .toJson(QJsonDocument::Compact);
}

DecodedVault decodeVault(const QByteArray& bytes) {
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    const QJsonValue found = object.value(QLatin1String("version"));
    if (found.toDouble() > version)
        return {VaultState::newer, {}};
    const QJsonValue array = object.value(QLatin1String("items"));
    if (found.toDouble() != version || !array.isArray())
        return {};
    std::vector<VaultItem> items;
    for (const QJsonValue value : array.toArray()) {
        auto item = decodeItem(value);
        if (!item ||
            std::any_of(items.begin(), items.end(), [&](const auto& other) { return other.name == item->name; }))
            return {};
        items.push_back(*std::move(item));
    }
    return {VaultState::sound, std::move(items)};
}

} // namespace vennic
