#include "backend/KeychainStore.h"

#include "base/Localized.h"
#include "base/Pool.h"
#include "core/Models.h"

namespace vennic {

namespace {

const CredentialItem& tokenItem() {
    static const CredentialItem item{QStringLiteral("com.vennic.mac.usertoken"), QStringLiteral("user_token")};
    return item;
}

const CredentialItem& deviceItem() {
    static const CredentialItem item{QStringLiteral("com.vennic.mac.bridge-device-id"),
                                     QStringLiteral("bridge_device_id")};
    return item;
}

CredentialReadResult readToken(const std::stop_token& stop, const std::shared_ptr<CredentialStore>& credentials,
                               const std::optional<QString>& prompt) {
    return credentials->read(tokenItem(), prompt, stop);
}

std::optional<SecretText> tokenOf(const CredentialReadResult& result) {
    if (result.status != CredentialStatus::success || !result.data || !result.data->reveal().isValidUtf8())
        return std::nullopt;
    return result.data;
}

} // namespace

KeychainError::KeychainError(Case kind, const QString& description, CredentialStatus code)
    : LocalizedError(description), kind_(kind), code_(code) {}

KeychainError KeychainError::status(CredentialStatus code) {
    const QString number = QString::number(static_cast<qint32>(code));
    return {Case::status, localized("Erreur Trousseau %lld").replace(QLatin1String("%lld"), number), code};
}

KeychainError KeychainError::unexpectedData() {
    return {Case::unexpectedData, localized("Le Trousseau a renvoyé des données inattendues")};
}

KeychainError KeychainError::accessControlFailed() {
    return {Case::accessControlFailed, localized("Impossible de configurer le contrôle d'accès du Trousseau")};
}

KeychainStore::KeychainStore(std::shared_ptr<CredentialStore> credentials, KeyValueStore& preferences,
                             IdentifierSource identifiers)
    : credentials_(std::move(credentials)), preferences_(preferences), identifiers_(std::move(identifiers)) {}

bool KeychainStore::highSecurityMode() const {
    return storedAs<bool>(preferences_, PreferenceKey::highSecurityMode).value_or(false);
}

std::optional<QString> KeychainStore::promptNow(const QString& prompt) const {
    return highSecurityMode() ? std::optional<QString>(prompt) : std::nullopt;
}

std::optional<SecretText> KeychainStore::read(const QString& prompt) const {
    return tokenOf(credentials_->read(tokenItem(), promptNow(prompt)));
}

Task<std::optional<SecretText>> KeychainStore::readAside(QString prompt) const {
    co_return tokenOf(co_await onPoolWaiting(readToken, credentials_, promptNow(prompt)));
}

void KeychainStore::save(const SecretText& token) {
    if (!token.reveal().isValidUtf8())
        throw KeychainError::unexpectedData();
    // Never an update: the protection may differ from the stored item's.
    credentials_->remove(tokenItem());
    const CredentialProtection protection{.requiresUserPresence = highSecurityMode()};
    if (protection.requiresUserPresence && !credentials_->canRequireUserPresence())
        throw KeychainError::accessControlFailed();
    const auto status = credentials_->add(tokenItem(), token, protection);
    if (status != CredentialStatus::success)
        throw KeychainError::status(status);
}

void KeychainStore::remove() {
    const auto status = credentials_->remove(tokenItem());
    if (status != CredentialStatus::success && status != CredentialStatus::itemNotFound)
        throw KeychainError::status(status);
}

QString KeychainStore::bridgeDeviceId() {
    if (const auto stored = readBridgeDeviceIdFromKeychain())
        return *stored;
    if (const auto fallback = storedAs<QString>(preferences_, PreferenceKey::bridgeDeviceId);
        fallback && !fallback->isEmpty()) {
        writeBridgeDeviceIdToKeychain(*fallback);
        return *fallback;
    }
    const QString fresh = identifiers_();
    if (!writeBridgeDeviceIdToKeychain(fresh))
        preferences_.set(PreferenceKey::bridgeDeviceId, fresh);
    return fresh;
}

std::optional<QString> KeychainStore::readBridgeDeviceIdFromKeychain() const {
    const auto result = credentials_->read(deviceItem(), std::nullopt);
    if (result.status != CredentialStatus::success || !result.data || result.data->isEmpty() ||
        !result.data->reveal().isValidUtf8())
        return std::nullopt;
    return QString::fromUtf8(result.data->reveal());
}

bool KeychainStore::writeBridgeDeviceIdToKeychain(const QString& id) {
    credentials_->remove(deviceItem());
    return credentials_->add(deviceItem(), SecretText{id.toUtf8()}, CredentialProtection{}) ==
           CredentialStatus::success;
}

} // namespace vennic
