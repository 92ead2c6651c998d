#pragma once
#include "base/Identifier.h"
#include "base/LocalizedError.h"
#include "base/Task.h"
#include "ports/CredentialStore.h"
#include "ports/KeyValueStore.h"

namespace vennic {

/// What saving or deleting the token fails with.
class KeychainError : public LocalizedError {
public:
    enum class Case { status, unexpectedData, accessControlFailed };

    static KeychainError status(CredentialStatus code);
    static KeychainError unexpectedData();
    static KeychainError accessControlFailed();

    Case kind() const noexcept { return kind_; }
    /// Meaningful for status only.
    CredentialStatus code() const noexcept { return code_; }

private:
    KeychainError(Case kind, const QString& description, CredentialStatus code = CredentialStatus::success);

    Case kind_;
    CredentialStatus code_;
};

/// The two secrets of this machine: the user token and the bridge device identifier. Main thread only.
class KeychainStore {
public:
    KeychainStore(std::shared_ptr<CredentialStore> credentials, KeyValueStore& preferences,
                  IdentifierSource identifiers = newIdentifier);

    /// The user token. With high security on the system asks for the user's presence and shows `prompt`. None when
    /// there is no token, the user refused, or it isn't UTF-8: the reason isn't told. Blocks while the user is asked.
    std::optional<SecretText> read(const QString& prompt) const;
    /// As `read`, while the main thread goes on. Cancelled it takes back what asks the user.
    Task<std::optional<SecretText>> readAside(QString prompt) const;
    /// Replaces the token; with high security on it can then be read in the user's presence only. Raises
    /// KeychainError, and no token is stored then. Asks the user nothing.
    void save(const SecretText& token);
    /// Deletes the token; a missing one is fine. Raises KeychainError. Asks the user nothing.
    void remove();
    /// The identifier of this device towards the backend, made at the first call. Asks the user nothing.
    QString bridgeDeviceId();

private:
    std::optional<QString> readBridgeDeviceIdFromKeychain() const;
    bool writeBridgeDeviceIdToKeychain(const QString& id);
    bool highSecurityMode() const;
    /// What an item that is guarded may ask the user by.
    std::optional<QString> promptNow(const QString& prompt) const;

    std::shared_ptr<CredentialStore> credentials_; // a reading beside the main thread may outlive this
    KeyValueStore& preferences_;
    IdentifierSource identifiers_;
};

} // namespace vennic
