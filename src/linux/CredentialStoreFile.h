#pragma once
#include "linux/PrivateFile.h"
#include "linux/VaultItems.h"
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

namespace vennic {

/// Secrets in a file that nothing protects but its permissions: for machines without a Secret Service. The user's
/// presence is asked for by this program, the file itself doesn't enforce it.
///
/// A damaged file counts as empty for reading and is set aside under a dated name by the next addition. A file that
/// others may read, of another owner, of a newer version, a symbolic link or a folder gives ioFailed and is left alone.
class CredentialStoreFile final : public CredentialStore {
public:
    static constexpr qsizetype maxFileBytes = 1024 * 1024;
    static constexpr qsizetype maxSecretBytes = 64 * 1024;

    /// `presence` outlives the store. The file and its folder (0700) are made by the first addition.
    CredentialStoreFile(const QString& path, UserPresence& presence) : file_(path, maxFileBytes), presence_(presence) {}

    CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt) override;
    CredentialStatus add(const CredentialItem& item, const SecretText& data, CredentialProtection protection) override;
    CredentialStatus remove(const CredentialItem& item) override;
    bool canRequireUserPresence() override { return presence_.isAvailable(); }
    QString kind() const override { return QStringLiteral("file"); }

    /// How the item is protected; none when there is no such item.
    std::optional<CredentialProtection> protection(const CredentialItem& item) const;

private:
    PrivateFile file_;
    UserPresence& presence_;
};

/// The status of a read that the user's presence was asked for; success when it was confirmed.
CredentialStatus credentialStatus(PresenceOutcome outcome);

} // namespace vennic
