#pragma once
#include <QCoreApplication>

namespace vennic {

/// The text for the user in their language; the French text is the key and the fall-back. Argument: UTF-8.
inline QString localized(const char* french) { return QCoreApplication::translate("vennic", french); }

} // namespace vennic
