#include "linux/UserPresencePolkit.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMetaType>
#include <QMap>
#include <QVariant>

namespace vennic {

// The records of org.freedesktop.PolicyKit1.Authority.
struct PolkitSubject {
    QString kind;
    QVariantMap details;
};
using PolkitDetails = QMap<QString, QString>;
struct PolkitResult {
    bool isAuthorized = false;
    bool isChallenge = false;
    PolkitDetails details;
};

QDBusArgument& operator<<(QDBusArgument& to, const PolkitSubject& subject) {
    to.beginStructure();
    to << subject.kind << subject.details;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, PolkitSubject& subject) {
    from.beginStructure();
    from >> subject.kind >> subject.details;
    from.endStructure();
    return from; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus's form
}
QDBusArgument& operator<<(QDBusArgument& to, const PolkitResult& result) {
    to.beginStructure();
    to << result.isAuthorized << result.isChallenge << result.details;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, PolkitResult& result) {
    from.beginStructure();
    from >> result.isAuthorized >> result.isChallenge >> result.details;
    from.endStructure();
    return from; // NOLINT(bugprone-return-const-ref-from-parameter): QtDBus's form
}

} // namespace vennic

Q_DECLARE_METATYPE(vennic::PolkitSubject)
Q_DECLARE_METATYPE(vennic::PolkitResult)
Q_DECLARE_METATYPE(vennic::PolkitDetails)

namespace vennic {

namespace {

constexpr auto quickly = std::chrono::seconds{5};

const QString& service() {
    static const QString name = QStringLiteral("org.freedesktop.PolicyKit1");
    return name;
}
const QString& path() {
    static const QString name = QStringLiteral("/org/freedesktop/PolicyKit1/Authority");
    return name;
}
const QString& interface() {
    static const QString name = QStringLiteral("org.freedesktop.PolicyKit1.Authority");
    return name;
}

bool isResult(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ReplyMessage && reply.signature() == QLatin1String("(bba{ss})");
}

} // namespace

UserPresencePolkit::UserPresencePolkit(std::chrono::milliseconds patience) : patience_(patience) {
    qDBusRegisterMetaType<PolkitSubject>();
    qDBusRegisterMetaType<PolkitDetails>();
    qDBusRegisterMetaType<PolkitResult>();
}

QDBusMessage UserPresencePolkit::check(Asking asking, const QString& cancelId, std::chrono::milliseconds timeout,
                                       const std::stop_token& stop) {
    const PolkitSubject self{QStringLiteral("system-bus-name"),
                             {{QStringLiteral("name"), bus_.connection().baseService()}}};
    return bus_.call(service(), path(), interface(), QStringLiteral("CheckAuthorization"),
                     {QVariant::fromValue(self), QStringLiteral("com.vennic.desktop.read-token"),
                      QVariant::fromValue(PolkitDetails()), asking == Asking::yes ? 1U : 0U, cancelId},
                     timeout, stop);
}

// Without interaction polkit answers at once, and an action that isn't registered gives an error.
bool UserPresencePolkit::isAvailable() { return isResult(check(Asking::no, QString(), quickly)); }

PresenceOutcome UserPresencePolkit::confirm(const QString&, const std::stop_token& stop) {
    const QString cancelId = QStringLiteral("vennic-%1").arg(++questions_);
    const QDBusMessage reply = check(Asking::yes, cancelId, patience_, stop);
    if (isResult(reply)) {
        const auto result = qdbus_cast<PolkitResult>(reply.arguments().at(0));
        if (result.isAuthorized)
            return PresenceOutcome::confirmed;
        if (result.details.contains(QStringLiteral("polkit.dismissed")))
            return PresenceOutcome::dismissed;
        // A challenge that stays one: there is nobody to put the question to the user.
        return result.isChallenge ? PresenceOutcome::unavailable : PresenceOutcome::refused;
    }
    if (reply.errorName() != QDBusError::errorString(QDBusError::NoReply))
        return PresenceOutcome::unavailable;
    bus_.send(service(), path(), interface(), QStringLiteral("CancelCheckAuthorization"), {cancelId});
    return PresenceOutcome::dismissed;
}

} // namespace vennic
