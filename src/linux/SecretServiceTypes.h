#pragma once
#include <QByteArray>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QMap>
#include <QString>

namespace vennic {

/// A secret on the wire of the Secret Service API 0.2: (oayays).
struct WireSecret {
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString contentType;
};
/// Attributes of an item: a{ss}.
using SecretAttributes = QMap<QString, QString>;

QDBusArgument& operator<<(QDBusArgument& to, const WireSecret& secret);
const QDBusArgument& operator>>(const QDBusArgument& from, WireSecret& secret);

/// Makes both known to QtDBus.
void registerSecretServiceTypes();

} // namespace vennic

Q_DECLARE_METATYPE(vennic::WireSecret)
Q_DECLARE_METATYPE(vennic::SecretAttributes)
