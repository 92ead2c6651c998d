#pragma once
#include "linux/DBusLink.h"
#include "linux/SecretServiceTypes.h"
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

#include <QList>

namespace vennic {

/// The desktop's Secret Service (freedesktop.org Secret Service API 0.2), spoken directly: a missing item, a locked
/// store, an absent service and a refusal are told apart. Items carry the attributes `service`, `account` and
/// `xdg:schema`; one that asks for the user's presence also carries `user-presence`, and the user is asked before
/// it is read. A locked store is unlocked by the service's own prompt where the caller allows to ask; else it
/// answers interactionNotAllowed. Calls take 5 seconds at most, prompts 2 minutes.
class CredentialStoreSecretService final : public CredentialStore {
public:
    /// `presence` outlives the store.
    explicit CredentialStoreSecretService(UserPresence& presence);

    /// Whether a service answers on the session bus, started by it if need be.
    bool answers();

    CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt,
                              const std::stop_token& stop = {}) override;
    CredentialStatus add(const CredentialItem& item, const SecretText& data, CredentialProtection protection) override;
    CredentialStatus remove(const CredentialItem& item) override;
    bool canRequireUserPresence() override { return presence_.isAvailable(); }
    QString kind() const override { return QStringLiteral("secret-service"); }

private:
    class Session;
    struct Found {
        QList<QDBusObjectPath> unlocked;
        QList<QDBusObjectPath> locked;
    };
    /// Whether the user may be asked, and until when.
    struct Asking {
        bool allowed = false;
        std::stop_token stop;
    };

    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments);
    std::optional<QVariant> property(const QString& path, const QString& interface, const QString& name);
    CredentialStatus search(const CredentialItem& item, Found& found);
    /// Looks for the item and, if need be and allowed, unlocks what keeps it: itemNotFound only where that is sure.
    CredentialStatus find(const CredentialItem& item, const Asking& asking, Found& found);
    QString defaultCollection();
    bool isLocked(const QString& collection);
    CredentialStatus unlock(const QDBusObjectPath& what, const Asking& asking);
    CredentialStatus usableCollection(const Asking& asking, QString& collection);
    CredentialStatus runPrompt(const QDBusObjectPath& prompt, const Asking& asking);
    CredentialStatus confirmPresence(const QDBusObjectPath& item, const std::optional<QString>& prompt,
                                     const std::stop_token& stop);

    UserPresence& presence_;
    DBusLink bus_{DBusLink::Bus::session};
};

} // namespace vennic
