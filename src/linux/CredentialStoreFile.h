#pragma once
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

#include <mutex>
#include <vector>

namespace vennic {

/// Secrets in one file that its owner alone may read (0600 in a folder of 0700), for machines without a Secret
/// Service. Replaced as a whole and synced, so that a crash leaves the old or the new one; what a killed writer left
/// beside it is removed by the first use. Refused with ioFailed and left alone are a file that is not a plain file,
/// belongs to somebody else, lets group or others in, is larger than 1 MiB or of a newer format, and a folder that
/// belongs to somebody else or where group or others may write. A file that can't be understood is set aside under a
/// dated name before the next one is written.
class CredentialStoreFile final : public CredentialStore {
public:
    /// `presence` outlives the store.
    CredentialStoreFile(QString path, UserPresence& presence);

    CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt,
                              const std::stop_token& stop = {}) override;
    CredentialStatus add(const CredentialItem& item, const SecretText& data, CredentialProtection protection) override;
    CredentialStatus remove(const CredentialItem& item) override;
    bool canRequireUserPresence() override { return presence_.isAvailable(); }
    QString kind() const override { return QStringLiteral("file"); }

    /// How an item is protected; none when the file doesn't have it or can't be read. Asks nobody.
    std::optional<CredentialProtection> protectionOf(const CredentialItem& item) const;

private:
    struct Entry {
        CredentialItem item;
        SecretText data;
        bool requiresUserPresence = false;
    };
    enum class Condition { sound, damaged, unreadable };
    struct Content {
        Condition condition = Condition::sound; // a missing file is sound and empty
        std::vector<Entry> entries;
    };

    /// Reads the file, as one step with what a writer does. The rest expects `file_` to be held.
    Content content() const;
    Content load() const;
    static Content parse(const QByteArray& bytes);
    /// Whether nobody but its owner can put another file in this one's place. A missing folder will be made so.
    bool isFolderSafe() const;
    void removeLeftovers() const;
    bool store(const std::vector<Entry>& entries) const;
    bool setAside() const;

    QString path_;
    UserPresence& presence_;
    mutable std::mutex file_; // one after another, and never held while the user is asked
    mutable bool tidied_ = false;
};

} // namespace vennic
