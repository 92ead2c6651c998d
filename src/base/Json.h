#pragma once
#include "base/LocalizedError.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>

namespace vennic {

/// JSON that doesn't have the expected shape.
class DecodingError : public LocalizedError {
public:
    using LocalizedError::LocalizedError;
};

/// Parses a JSON object or array (RFC 8259), nested 1024 deep at most. Raises DecodingError.
QJsonDocument parseJson(const QByteArray& bytes);
/// The same of an object.
QJsonObject parseJsonObject(const QByteArray& bytes);
/// The same of a JSON array.
QJsonArray parseJsonArray(const QByteArray& bytes);
/// The object that an element of an array is. Raises DecodingError.
QJsonObject objectOf(const QJsonValue& element);

/// Fields of an object. The required ones raise DecodingError when missing, null or of another type; the optional
/// ones are none when missing or null and raise when of another type. Integers are numbers without a fraction that
/// fit 64 bits. Unknown keys are nobody's business.
QString requiredString(const QJsonObject& object, QLatin1String key);
std::optional<QString> optionalString(const QJsonObject& object, QLatin1String key);
qint64 requiredInteger(const QJsonObject& object, QLatin1String key);
std::optional<qint64> optionalInteger(const QJsonObject& object, QLatin1String key);
std::optional<QStringList> optionalStrings(const QJsonObject& object, QLatin1String key);
std::optional<bool> optionalBoolean(const QJsonObject& object, QLatin1String key);
QJsonObject requiredObject(const QJsonObject& object, QLatin1String key);
QJsonArray requiredArray(const QJsonObject& object, QLatin1String key);
bool requiredBoolean(const QJsonObject& object, QLatin1String key);
double requiredNumber(const QJsonObject& object, QLatin1String key);

/// The integer under `key`; none when there is anything else. Never raises.
std::optional<qint64> integerIn(const QJsonObject& object, QLatin1String key);

} // namespace vennic
