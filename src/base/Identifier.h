#pragma once
#include <QString>

#include <functional>

namespace vennic {

/// Makes identifiers; tests give their own.
using IdentifierSource = std::function<QString()>;

/// A new random UUID: upper-case hexadecimal, 8-4-4-4-12.
QString newIdentifier();

} // namespace vennic
