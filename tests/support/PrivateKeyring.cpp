#include "support/PrivateKeyring.h"

#include "linux/DBusLink.h"
#include "linux/SecretServiceTypes.h"

#include <QDBusArgument>
#include <QDBusVariant>

#include <stdexcept>

namespace vennic::test {

namespace {

const QByteArray password = "word";
const auto login = QStringLiteral("/org/freedesktop/secrets/collection/login");

QDBusMessage call(const QString& path, const QString& interface, const QString& method, const QVariantList& arguments) {
    registerSecretServiceTypes();
    DBusLink link(DBusLink::Bus::session);
    const auto reply = link.call(QStringLiteral("org.freedesktop.secrets"), path, interface, method, arguments,
                                 std::chrono::seconds{5});
    if (reply.type() == QDBusMessage::ErrorMessage)
        throw std::runtime_error(reply.errorMessage().toStdString());
    return reply;
}

QDBusMessage callService(const QString& method, const QVariantList& arguments) {
    return call(QStringLiteral("/org/freedesktop/secrets"), QStringLiteral("org.freedesktop.Secret.Service"), method,
                arguments);
}

QVariant property(const QString& path, const QString& interface, const QString& name) {
    return call(path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), {interface, name})
        .arguments()
        .at(0)
        .value<QDBusVariant>()
        .variant();
}

} // namespace

PrivateKeyring::PrivateKeyring(const QString& folder)
    : folder_(folder), bus_(std::make_unique<PrivateBus>(PrivateBus::Kind::session, folder)) {
    start({QStringLiteral("--unlock")}, password);
}

void PrivateKeyring::start(const QStringList& arguments, const QByteArray& input) {
    daemon_ = std::make_unique<PrivateProcess>(
        QStringLiteral("gnome-keyring-daemon"),
        arguments + QStringList{QStringLiteral("--components=secrets"), QStringLiteral("--foreground")}, folder_,
        input);
    if (!bus_->waitForOwner(QStringLiteral("org.freedesktop.secrets")))
        throw std::runtime_error("gnome-keyring did not appear on the bus");
}

void PrivateKeyring::lock() {
    callService(QStringLiteral("Lock"), {QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath(login)})});
}

void PrivateKeyring::unlock() {
    // The password goes within the session that asks, so both calls share one connection.
    registerSecretServiceTypes();
    DBusLink link(DBusLink::Bus::session);
    const auto ask = [&](const QString& interface, const QString& method, const QVariantList& arguments) {
        return link.call(QStringLiteral("org.freedesktop.secrets"), QStringLiteral("/org/freedesktop/secrets"),
                         interface, method, arguments, std::chrono::seconds{5});
    };
    const auto session = ask(QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("OpenSession"),
                             {QStringLiteral("plain"), QVariant::fromValue(QDBusVariant(QString()))});
    const auto reply =
        ask(QStringLiteral("org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface"),
            QStringLiteral("UnlockWithMasterPassword"),
            {QVariant::fromValue(QDBusObjectPath(login)),
             QVariant::fromValue(WireSecret{
                 session.arguments().value(1).value<QDBusObjectPath>(), {}, password, QStringLiteral("text/plain")})});
    if (reply.type() == QDBusMessage::ErrorMessage)
        throw std::runtime_error(reply.errorMessage().toStdString());
}

void PrivateKeyring::restartLocked() {
    daemon_.reset();
    start({}, {});
}

void PrivateKeyring::restartBus() {
    daemon_.reset();
    bus_.reset();
    bus_ = std::make_unique<PrivateBus>(PrivateBus::Kind::session, folder_);
    start({QStringLiteral("--unlock")}, password);
}

QList<QMap<QString, QString>> PrivateKeyring::items() {
    QList<QMap<QString, QString>> all;
    const auto paths = qdbus_cast<QList<QDBusObjectPath>>(
        property(login, QStringLiteral("org.freedesktop.Secret.Collection"), QStringLiteral("Items")));
    for (const QDBusObjectPath& path : paths)
        all << qdbus_cast<SecretAttributes>(
            property(path.path(), QStringLiteral("org.freedesktop.Secret.Item"), QStringLiteral("Attributes")));
    return all;
}

} // namespace vennic::test
