#include "base/Json.h"

namespace vennic {

namespace {

[[noreturn]] void missing(QLatin1String key) {
    throw DecodingError(QStringLiteral("Données illisibles : le champ « %1 » manque.").arg(key));
}

[[noreturn]] void wrongType(QLatin1String key) {
    throw DecodingError(
        QStringLiteral("Données illisibles : le champ « %1 » n'est pas de la forme attendue.").arg(key));
}

QJsonValue present(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        missing(key);
    return value;
}

bool absent(const QJsonValue& value) { return value.isUndefined() || value.isNull(); }

std::optional<qint64> integer(const QJsonValue& value) {
    // Two different fall-backs tell a real number from a missing conversion.
    const qint64 number = value.toInteger(0);
    return value.isDouble() && number == value.toInteger(1) ? std::optional(number) : std::nullopt;
}

qint64 integer(const QJsonValue& value, QLatin1String key) {
    const auto number = integer(value);
    if (!number)
        wrongType(key);
    return *number;
}

QString string(const QJsonValue& value, QLatin1String key) {
    if (!value.isString())
        wrongType(key);
    return value.toString();
}

} // namespace

QJsonDocument parseJson(const QByteArray& bytes) {
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodingError(QStringLiteral("Données illisibles : le texte reçu n'est pas du JSON."));
    return document;
}

QJsonObject parseJsonObject(const QByteArray& bytes) {
    const QJsonDocument document = parseJson(bytes);
    if (!document.isObject())
        throw DecodingError(QStringLiteral("Données illisibles : un objet JSON était attendu."));
    return document.object();
}

QJsonArray parseJsonArray(const QByteArray& bytes) {
    const QJsonDocument document = parseJson(bytes);
    if (!document.isArray())
        throw DecodingError(QStringLiteral("Données illisibles : une liste JSON était attendue."));
    return document.array();
}

QJsonObject objectOf(const QJsonValue& element) {
    if (!element.isObject())
        throw DecodingError(QStringLiteral("Données illisibles : un objet JSON était attendu."));
    return element.toObject();
}

QString requiredString(const QJsonObject& object, QLatin1String key) { return string(present(object, key), key); }

std::optional<QString> optionalString(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = object.value(key);
    return absent(value) ? std::nullopt : std::optional(string(value, key));
}

qint64 requiredInteger(const QJsonObject& object, QLatin1String key) { return integer(present(object, key), key); }

std::optional<qint64> optionalInteger(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = object.value(key);
    return absent(value) ? std::nullopt : std::optional(integer(value, key));
}

std::optional<QStringList> optionalStrings(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    if (!value.isArray())
        wrongType(key);
    QStringList strings;
    for (const auto& element : value.toArray())
        strings.append(string(element, key));
    return strings;
}

QJsonObject requiredObject(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = present(object, key);
    if (!value.isObject())
        wrongType(key);
    return value.toObject();
}

QJsonArray requiredArray(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = present(object, key);
    if (!value.isArray())
        wrongType(key);
    return value.toArray();
}

std::optional<bool> optionalBoolean(const QJsonObject& object, QLatin1String key) {
    return absent(object.value(key)) ? std::nullopt : std::optional(requiredBoolean(object, key));
}

bool requiredBoolean(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = present(object, key);
    if (!value.isBool())
        wrongType(key);
    return value.toBool();
}

double requiredNumber(const QJsonObject& object, QLatin1String key) {
    const QJsonValue value = present(object, key);
    if (!value.isDouble())
        wrongType(key);
    return value.toDouble();
}

std::optional<qint64> integerIn(const QJsonObject& object, QLatin1String key) { return integer(object.value(key)); }

} // namespace vennic
