#include "linux/CredentialStoreChoice.h"

#include "linux/CredentialStoreFile.h"
#include "linux/CredentialStoreSecretService.h"

namespace vennic {

namespace {

/// A Secret Service in front of a vault that is being emptied into it.
class CredentialStoreTakingOver final : public CredentialStore {
public:
    CredentialStoreTakingOver(std::unique_ptr<CredentialStoreSecretService> service, const QString& vaultPath,
                              UserPresence& presence)
        : service_(std::move(service)), vault_(vaultPath, presence) {}

    CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt,
                              const std::stop_token& stop) override {
        const auto protection = vault_.protectionOf(item);
        if (!protection)
            return service_->read(item, prompt, stop);
        const auto kept = vault_.read(item, prompt, stop);
        if (kept.data)
            // Beside the main thread nobody is asked a second time: it can't be taken back.
            takeOver(item, *kept.data, {protection->requiresUserPresence, prompt && !stop.stop_possible()});
        return kept;
    }
    CredentialStatus add(const CredentialItem& item, const SecretText& data, CredentialProtection protection) override {
        if (vault_.protectionOf(item))
            return CredentialStatus::duplicateItem;
        return service_->add(item, data, protection);
    }
    CredentialStatus remove(const CredentialItem& item) override {
        const auto fromVault = vault_.protectionOf(item) ? vault_.remove(item) : CredentialStatus::itemNotFound;
        const auto fromService = service_->remove(item);
        if (fromVault == CredentialStatus::itemNotFound)
            return fromService;
        const bool serviceIsClean =
            fromService == CredentialStatus::success || fromService == CredentialStatus::itemNotFound;
        return fromVault == CredentialStatus::success && serviceIsClean ? CredentialStatus::success
               : fromVault != CredentialStatus::success                 ? fromVault
                                                                        : fromService;
    }
    bool canRequireUserPresence() override { return service_->canRequireUserPresence(); }
    QString kind() const override { return service_->kind(); }

private:
    void takeOver(const CredentialItem& item, const SecretText& data, CredentialProtection protection) {
        const auto removed = service_->remove(item);
        if (removed != CredentialStatus::success && removed != CredentialStatus::itemNotFound)
            return;
        if (service_->add(item, data, protection) == CredentialStatus::success)
            giveUp(item);
    }
    void giveUp(const CredentialItem& item) {
        if (vault_.remove(item) == CredentialStatus::itemNotFound) // removed meanwhile: it is to be nowhere
            service_->remove(item);
    }

    std::unique_ptr<CredentialStoreSecretService> service_;
    CredentialStoreFile vault_;
};

} // namespace

bool isVaultChosen() { return qgetenv("VENNIC_CREDENTIALS") == "file"; }

std::unique_ptr<CredentialStore> makeCredentialStore(UserPresence& presence, const QString& vaultPath) {
    if (isVaultChosen())
        return std::make_unique<CredentialStoreFile>(vaultPath, presence);
    auto service = std::make_unique<CredentialStoreSecretService>(presence);
    if (!service->answers())
        return std::make_unique<CredentialStoreFile>(vaultPath, presence);
    return std::make_unique<CredentialStoreTakingOver>(std::move(service), vaultPath, presence);
}

} // namespace vennic
