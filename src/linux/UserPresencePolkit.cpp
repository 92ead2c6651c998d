#include "linux/UserPresencePolkit.h"

#include "linux/BusLink.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QMap>
#include <QUuid>

namespace vennic {

// The types of org.freedesktop.PolicyKit1.Authority.CheckAuthorization.
struct PolkitSubject {
    QString kind;
    QVariantMap details;
};

struct PolkitAnswer {
    bool authorized = false;
    bool challenge = false; // somebody would have to be asked
    QMap<QString, QString> details;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const PolkitSubject& subject) {
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, PolkitSubject& subject) {
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, PolkitAnswer& answer) {
    argument.beginStructure();
    argument >> answer.authorized >> answer.challenge >> answer.details;
    argument.endStructure();
    return argument;
}

namespace {

using namespace std::chrono_literals;

constexpr auto quick = 1s;
enum : quint32 { askNobody = 0, allowUserInteraction = 1 };

QDBusMessage authorityCall(const QString& method) {
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
                                          QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                          QStringLiteral("org.freedesktop.PolicyKit1.Authority"), method);
}

QDBusMessage check(const QString& caller, quint32 flags, const QString& cancellation) {
    qDBusRegisterMetaType<QMap<QString, QString>>();
    qDBusRegisterMetaType<PolkitSubject>();
    const PolkitSubject subject{QStringLiteral("system-bus-name"), {{QStringLiteral("name"), caller}}};
    auto message = authorityCall(QStringLiteral("CheckAuthorization"));
    message.setArguments({QVariant::fromValue(subject), QStringLiteral("com.vennic.desktop.read-token"),
                          QVariant::fromValue(QMap<QString, QString>()), flags, cancellation});
    return message;
}

std::optional<PolkitAnswer> answerOf(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("(bba{ss})"))
        return std::nullopt;
    PolkitAnswer answer;
    reply.arguments().constFirst().value<QDBusArgument>() >> answer;
    return answer;
}

} // namespace

UserPresencePolkit::UserPresencePolkit(std::chrono::milliseconds patience)
    : patience_(patience), link_(std::make_unique<BusLink>(BusLink::Bus::system)) {}

UserPresencePolkit::~UserPresencePolkit() = default;

bool UserPresencePolkit::isAvailable() {
    const auto bus = link_->connection();
    // An action that nobody installed is answered by an error, whether or not somebody may be asked.
    return bus && answerOf(link_->call(check(bus->baseService(), askNobody, QString()), quick));
}

PresenceOutcome UserPresencePolkit::confirm(const QString& reason) {
    Q_UNUSED(reason)
    const auto bus = link_->connection();
    if (!bus)
        return PresenceOutcome::unavailable;
    const QString cancellation = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const auto reply = link_->call(check(bus->baseService(), allowUserInteraction, cancellation), patience_);
    const auto answer = answerOf(reply);
    if (!answer) {
        if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NoReply")) {
            auto withdraw = authorityCall(QStringLiteral("CancelCheckAuthorization"));
            withdraw.setArguments({cancellation});
            link_->call(withdraw, quick);
        }
        return reply.errorName() == QLatin1String("org.freedesktop.PolicyKit1.Error.Cancelled")
                   ? PresenceOutcome::dismissed
                   : PresenceOutcome::unavailable;
    }
    if (answer->authorized)
        return PresenceOutcome::confirmed;
    if (answer->details.contains(QStringLiteral("polkit.dismissed")))
        return PresenceOutcome::dismissed;
    // Still to be asked after asking was allowed: no agent shows questions in this session.
    return answer->challenge ? PresenceOutcome::unavailable : PresenceOutcome::refused;
}

} // namespace vennic
