#include "linux/SecretServiceTypes.h"

#include <QDBusMetaType>

namespace vennic {

QDBusArgument& operator<<(QDBusArgument& to, const WireSecret& secret) {
    to.beginStructure();
    to << secret.session << secret.parameters << secret.value << secret.contentType;
    to.endStructure();
    return to;
}

const QDBusArgument& operator>>(const QDBusArgument& from, WireSecret& secret) {
    from.beginStructure();
    from >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    from.endStructure();
    return from; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus's form
}

void registerSecretServiceTypes() {
    qDBusRegisterMetaType<WireSecret>();
    qDBusRegisterMetaType<SecretAttributes>();
}

} // namespace vennic
