#include "base/Identifier.h"

namespace vennic {

QString newIdentifier() { return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(); }

std::optional<QUuid> uuidFromText(const QString& text) {
    const QUuid id = QUuid::fromString(text);
    // Qt also reads braces, passes over what follows, and gives the UUID of zeros for what it can't read.
    if (id.toString(QUuid::WithoutBraces).compare(text, Qt::CaseInsensitive) != 0)
        return std::nullopt;
    return id;
}

} // namespace vennic
