#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// The body as text; none when it isn't valid UTF-8.
std::optional<QString> utf8Text(const QByteArray& body);

/// What a failed call says in its body: the "message" of a JSON object, else its "error" (strings that aren't
/// empty), else the body as text. None for an empty body or one that isn't text.
std::optional<QString> parsedErrorBody(const QByteArray& body);

/// What a refused pairing says in its body: the "error" of a JSON object (a string, an empty one too), else the body
/// as text.
std::optional<QString> pairingErrorBody(const QByteArray& body);

} // namespace vennic
