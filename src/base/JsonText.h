#pragma once
#include <QByteArray>
#include <QStringView>

namespace vennic {

// Writing JSON (RFC 8259) straight into its bytes: a large answer would take many times its size as a QJsonObject.

/// Appends `text` as a string with its quotes, in UTF-8. Half a surrogate pair is written as an escape.
void appendJsonString(QByteArray& json, QStringView text);
/// Appends the shortest number that reads back as `number`, which is finite.
void appendJsonNumber(QByteArray& json, double number);

} // namespace vennic
