#pragma once
#include "base/SecretText.h"

#include <QString>

#include <optional>
#include <stop_token>

namespace vennic {

/// Names one secret.
struct CredentialItem {
    QString service;
    QString account;
    bool operator==(const CredentialItem&) const = default;
};

/// Outcome of an operation; the numbers are shown to the user and logged.
enum class CredentialStatus : qint32 {
    success = 0,
    userCancelled = -128,  // the user refused the prompt
    notAvailable = -25291, // no credential service answers
    authFailed = -25293,   // the user's presence was not confirmed
    duplicateItem = -25299,
    itemNotFound = -25300,
    interactionNotAllowed = -25308, // the store is locked
    ioFailed = -36,                 // the store's file can't be read or written
    dataTooLarge = -25302,
    internal = -67671, // the service failed with an error of its own
};

/// How a secret is added: whether the user must be present to read it, and may be asked now.
struct CredentialProtection {
    bool requiresUserPresence = false;
    /// Adding may ask the user to unlock or to make the store; without it a locked store gives interactionNotAllowed.
    bool mayAskUser = false;
    bool operator==(const CredentialProtection&) const = default;
};

struct CredentialReadResult {
    CredentialStatus status = CredentialStatus::itemNotFound;
    std::optional<SecretText> data;
};

/// The system's store of named secrets. Operations are synchronous. Main thread only, but for `read`, which may block
/// on the user and may run on any thread while the main thread goes on using the store.
class CredentialStore {
public:
    virtual ~CredentialStore() = default;
    /// Reads an item. `prompt` is the sentence shown if the item asks for the user's presence; without it such an
    /// item, and one in a locked store, gives interactionNotAllowed and nobody is asked. What asks the user is taken
    /// away once `stop` is told to stop, and counts as their refusal. With a token that can be told to stop not on the
    /// main thread.
    virtual CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt,
                                      const std::stop_token& stop = {}) = 0;
    /// Adds an item that must not exist yet.
    virtual CredentialStatus add(const CredentialItem& item, const SecretText& data,
                                 CredentialProtection protection) = 0;
    virtual CredentialStatus remove(const CredentialItem& item) = 0;
    /// Whether this machine can ask for the user's presence; without it nothing can be protected by it.
    virtual bool canRequireUserPresence() = 0;
    /// "secret-service" or "file".
    virtual QString kind() const = 0;
};

} // namespace vennic
