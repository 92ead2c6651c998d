#include "base/Identifier.h"

#include <QUuid>

namespace vennic {

QString newIdentifier() { return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(); }

} // namespace vennic
