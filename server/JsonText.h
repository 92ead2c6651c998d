#pragma once
#include <QJsonObject>

#include <string_view>

namespace vennic::server {

/// Reads a request's body as a JSON object, nested at most 64 deep. Raises HttpError 400.
QJsonObject jsonObject(std::string_view body);
/// The compact text of an object.
QByteArray jsonText(const QJsonObject& object);
/// A string as a JSON literal, with its quotes.
QByteArray jsonLiteral(const QString& text);

} // namespace vennic::server
