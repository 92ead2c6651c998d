#include "linux/CredentialStoreSecretService.h"

#include "linux/CredentialPresence.h"
#include "linux/SecretPrompt.h"

#include <QDBusVariant>

namespace vennic {

namespace {

constexpr auto quickly = std::chrono::seconds{5};
constexpr auto asLongAsAPersonTakes = std::chrono::minutes{2};
constexpr qsizetype maxSecretBytes = 1024LL * 1024;

const QString service = QStringLiteral("org.freedesktop.secrets");
const QString root = QStringLiteral("/org/freedesktop/secrets");
const QString serviceInterface = QStringLiteral("org.freedesktop.Secret.Service");
const QString collectionInterface = QStringLiteral("org.freedesktop.Secret.Collection");
const QString itemInterface = QStringLiteral("org.freedesktop.Secret.Item");
const QString presenceAttribute = QStringLiteral("user-presence");
const QString noObject = QStringLiteral("/");

SecretAttributes attributesOf(const CredentialItem& item) {
    return {{QStringLiteral("service"), item.service},
            {QStringLiteral("account"), item.account},
            {QStringLiteral("xdg:schema"), QStringLiteral("com.vennic.desktop.Credential")}};
}

CredentialStatus statusOf(const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ReplyMessage)
        return CredentialStatus::success;
    if (meansNobodyAnswers(reply))
        return CredentialStatus::notAvailable;
    if (reply.errorName() == QLatin1String("org.freedesktop.Secret.Error.IsLocked"))
        return CredentialStatus::interactionNotAllowed;
    if (reply.errorName() == QLatin1String("org.freedesktop.Secret.Error.NoSuchObject"))
        return CredentialStatus::itemNotFound;
    return CredentialStatus::internal;
}

QDBusObjectPath objectAt(const QDBusMessage& reply, int position) {
    return reply.arguments().value(position).value<QDBusObjectPath>();
}

} // namespace

/// A session with the service, closed at its end.
class CredentialStoreSecretService::Session {
public:
    explicit Session(CredentialStoreSecretService& store) : store_(store) {
        const auto reply = store.call(root, serviceInterface, QStringLiteral("OpenSession"),
                                      {QStringLiteral("plain"), QVariant::fromValue(QDBusVariant(QString()))});
        status_ = statusOf(reply);
        if (status_ == CredentialStatus::success)
            path_ = objectAt(reply, 1);
        if (status_ == CredentialStatus::success && path_.path().isEmpty())
            status_ = CredentialStatus::internal;
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        if (status_ == CredentialStatus::success)
            store_.call(path_.path(), QStringLiteral("org.freedesktop.Secret.Session"), QStringLiteral("Close"), {});
    }
    CredentialStatus status() const { return status_; }
    const QDBusObjectPath& path() const { return path_; }

private:
    CredentialStoreSecretService& store_;
    CredentialStatus status_ = CredentialStatus::internal;
    QDBusObjectPath path_;
};

CredentialStoreSecretService::CredentialStoreSecretService(UserPresence& presence) : presence_(presence) {
    registerSecretServiceTypes();
}

bool CredentialStoreSecretService::answers() { return Session(*this).status() == CredentialStatus::success; }

CredentialReadResult CredentialStoreSecretService::read(const CredentialItem& item,
                                                        const std::optional<QString>& prompt,
                                                        const std::stop_token& stop) {
    const Session session(*this);
    if (session.status() != CredentialStatus::success)
        return {session.status(), std::nullopt};
    Found found;
    if (const auto status = find(item, {prompt.has_value(), stop}, found); status != CredentialStatus::success)
        return {status, std::nullopt};
    const QDBusObjectPath path = found.unlocked.first();
    if (const auto status = confirmPresence(path, prompt, stop); status != CredentialStatus::success)
        return {status, std::nullopt};
    const auto reply =
        call(path.path(), itemInterface, QStringLiteral("GetSecret"), {QVariant::fromValue(session.path())});
    if (const auto status = statusOf(reply); status != CredentialStatus::success)
        return {status, std::nullopt};
    auto secret = qdbus_cast<WireSecret>(reply.arguments().value(0));
    if (secret.value.size() > maxSecretBytes)
        return {CredentialStatus::dataTooLarge, std::nullopt};
    CredentialReadResult result{CredentialStatus::success, SecretText(secret.value)};
    wipe(secret.value);
    return result;
}

CredentialStatus CredentialStoreSecretService::add(const CredentialItem& item, const SecretText& data,
                                                   CredentialProtection protection) {
    if (data.reveal().size() > maxSecretBytes)
        return CredentialStatus::dataTooLarge;
    if (protection.requiresUserPresence && !canRequireUserPresence())
        return CredentialStatus::authFailed;
    const Asking asking{protection.mayAskUser, {}};
    const Session session(*this);
    if (session.status() != CredentialStatus::success)
        return session.status();
    Found found;
    const auto missing = find(item, asking, found);
    if (missing == CredentialStatus::success)
        return CredentialStatus::duplicateItem;
    if (missing != CredentialStatus::itemNotFound)
        return missing;
    QString collection;
    if (const auto status = usableCollection(asking, collection); status != CredentialStatus::success)
        return status;
    auto attributes = attributesOf(item);
    if (protection.requiresUserPresence)
        attributes.insert(presenceAttribute, QStringLiteral("required"));
    const QVariantMap properties{
        {QStringLiteral("org.freedesktop.Secret.Item.Label"), QStringLiteral("Vennic (%1)").arg(item.account)},
        {QStringLiteral("org.freedesktop.Secret.Item.Attributes"), QVariant::fromValue(attributes)}};
    WireSecret secret{session.path(), {}, data.reveal().toByteArray(), QStringLiteral("text/plain; charset=utf8")};
    const auto reply = call(collection, collectionInterface, QStringLiteral("CreateItem"),
                            {properties, QVariant::fromValue(secret), true});
    wipe(secret.value);
    if (const auto status = statusOf(reply); status != CredentialStatus::success)
        return status;
    return objectAt(reply, 0).path() == noObject ? runPrompt(objectAt(reply, 1), asking) : CredentialStatus::success;
}

CredentialStatus CredentialStoreSecretService::remove(const CredentialItem& item) {
    const Session session(*this);
    if (session.status() != CredentialStatus::success)
        return session.status();
    Found found;
    if (const auto status = find(item, {}, found); status != CredentialStatus::success)
        return status;
    for (const QDBusObjectPath& path : found.unlocked) {
        const auto reply = call(path.path(), itemInterface, QStringLiteral("Delete"), {});
        if (const auto status = statusOf(reply); status != CredentialStatus::success)
            return status;
        if (const auto prompt = objectAt(reply, 0); prompt.path() != noObject)
            return CredentialStatus::interactionNotAllowed;
    }
    return CredentialStatus::success;
}

QDBusMessage CredentialStoreSecretService::call(const QString& path, const QString& interface, const QString& method,
                                                const QVariantList& arguments) {
    return bus_.call(service, path, interface, method, arguments, quickly);
}

std::optional<QVariant> CredentialStoreSecretService::property(const QString& path, const QString& interface,
                                                               const QString& name) {
    const auto reply =
        call(path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), {interface, name});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    return reply.arguments().at(0).value<QDBusVariant>().variant();
}

CredentialStatus CredentialStoreSecretService::search(const CredentialItem& item, Found& found) {
    const auto reply =
        call(root, serviceInterface, QStringLiteral("SearchItems"), {QVariant::fromValue(attributesOf(item))});
    if (const auto status = statusOf(reply); status != CredentialStatus::success)
        return status;
    found.unlocked = qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0));
    found.locked = qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(1));
    return CredentialStatus::success;
}

CredentialStatus CredentialStoreSecretService::find(const CredentialItem& item, const Asking& asking, Found& found) {
    if (const auto status = search(item, found); status != CredentialStatus::success)
        return status;
    if (!found.unlocked.isEmpty())
        return CredentialStatus::success;
    // A store that was never opened in the service's life doesn't even name what it keeps.
    const QString collection = defaultCollection();
    const bool collectionIsLocked = !collection.isEmpty() && isLocked(collection);
    if (found.locked.isEmpty() && !collectionIsLocked)
        return CredentialStatus::itemNotFound;
    const QDBusObjectPath what = found.locked.isEmpty() ? QDBusObjectPath(collection) : found.locked.first();
    if (const auto status = unlock(what, asking); status != CredentialStatus::success)
        return status;
    if (const auto status = search(item, found); status != CredentialStatus::success)
        return status;
    return found.unlocked.isEmpty() ? CredentialStatus::itemNotFound : CredentialStatus::success;
}

QString CredentialStoreSecretService::defaultCollection() {
    const auto reply = call(root, serviceInterface, QStringLiteral("ReadAlias"), {QStringLiteral("default")});
    const QString path = objectAt(reply, 0).path();
    return path == noObject ? QString() : path;
}

bool CredentialStoreSecretService::isLocked(const QString& collection) {
    const auto locked = property(collection, collectionInterface, QStringLiteral("Locked"));
    return locked && locked->toBool();
}

CredentialStatus CredentialStoreSecretService::unlock(const QDBusObjectPath& what, const Asking& asking) {
    if (!asking.allowed)
        return CredentialStatus::interactionNotAllowed;
    const auto reply =
        call(root, serviceInterface, QStringLiteral("Unlock"), {QVariant::fromValue(QList<QDBusObjectPath>{what})});
    if (const auto status = statusOf(reply); status != CredentialStatus::success)
        return status;
    const auto prompt = objectAt(reply, 1);
    return prompt.path() == noObject ? CredentialStatus::success : runPrompt(prompt, asking);
}

// The collection that new items go to: the default one, made and unlocked if need be and allowed.
CredentialStatus CredentialStoreSecretService::usableCollection(const Asking& asking, QString& collection) {
    collection = defaultCollection();
    if (!collection.isEmpty())
        return isLocked(collection) ? unlock(QDBusObjectPath(collection), asking) : CredentialStatus::success;
    if (!asking.allowed)
        return CredentialStatus::interactionNotAllowed;
    const QVariantMap properties{{QStringLiteral("org.freedesktop.Secret.Collection.Label"), QStringLiteral("Vennic")}};
    const auto reply =
        call(root, serviceInterface, QStringLiteral("CreateCollection"), {properties, QStringLiteral("default")});
    if (const auto status = statusOf(reply); status != CredentialStatus::success)
        return status;
    if (const auto prompt = objectAt(reply, 1); prompt.path() != noObject) {
        if (const auto status = runPrompt(prompt, asking); status != CredentialStatus::success)
            return status;
    }
    collection = defaultCollection();
    return collection.isEmpty() ? CredentialStatus::internal : CredentialStatus::success;
}

CredentialStatus CredentialStoreSecretService::runPrompt(const QDBusObjectPath& prompt, const Asking& asking) {
    if (!asking.allowed)
        return CredentialStatus::interactionNotAllowed;
    switch (runSecretPrompt(bus_.connection(), service, prompt.path(), asLongAsAPersonTakes, asking.stop)) {
    case SecretPromptOutcome::completed:
        return CredentialStatus::success;
    case SecretPromptOutcome::dismissed:
        return CredentialStatus::userCancelled;
    case SecretPromptOutcome::failed:
        return CredentialStatus::interactionNotAllowed;
    }
    Q_UNREACHABLE();
}

CredentialStatus CredentialStoreSecretService::confirmPresence(const QDBusObjectPath& item,
                                                               const std::optional<QString>& prompt,
                                                               const std::stop_token& stop) {
    const auto attributes = property(item.path(), itemInterface, QStringLiteral("Attributes"));
    if (!attributes) // whether it asks for the user can't be told: it stays closed
        return CredentialStatus::internal;
    if (!qdbus_cast<SecretAttributes>(*attributes).contains(presenceAttribute))
        return CredentialStatus::success;
    return confirmedBy(presence_, prompt, stop);
}

} // namespace vennic
