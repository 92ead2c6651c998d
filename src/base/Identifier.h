#pragma once
#include <QString>
#include <QUuid>

#include <functional>
#include <optional>

namespace vennic {

/// Makes identifiers; tests give their own.
using IdentifierSource = std::function<QString()>;

/// A new random UUID: upper-case hexadecimal, 8-4-4-4-12.
QString newIdentifier();

/// The UUID that `text` spells as 8-4-4-4-12 hexadecimal digits of either case, and nothing around them.
std::optional<QUuid> uuidFromText(const QString& text);

} // namespace vennic
