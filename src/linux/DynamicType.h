#pragma once
#include <QString>

namespace vennic {

/// "dyn." and the extension's UTF-8 bytes in lower-case base 32 (RFC 4648, section 6, no padding).
QString dynamicType(const QString& extension);
bool isDynamicType(const QString& type);
/// The extension of a dynamic type; empty when it isn't one.
QString extensionOfDynamicType(const QString& type);

} // namespace vennic
